# run(COMMAND...): runs a command and sets `output`. If the command fails, prints its output and stops.
macro(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT status EQUAL 0)
        list(JOIN ARGN " " command)
        message(FATAL_ERROR "The command failed (${status}): ${command}\n${output}")
    endif()
endmacro()
