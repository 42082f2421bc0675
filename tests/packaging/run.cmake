# run(COMMAND...): stops with what the command wrote when it fails; `output` holds it when it does not.
macro(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT status EQUAL 0)
        list(JOIN ARGN " " command)
        message(FATAL_ERROR "This failed (${status}): ${command}\n${output}")
    endif()
endmacro()
