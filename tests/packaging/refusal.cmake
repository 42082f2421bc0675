# Configures SOURCE into BUILD with OPTIONS. This must fail and print each text in MESSAGES, regardless of line breaks
# and indentation.

file(REMOVE_RECURSE ${BUILD})
execute_process(COMMAND ${CMAKE_COMMAND} -G ${GENERATOR} -S ${SOURCE} -B ${BUILD} ${OPTIONS}
    RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(status EQUAL 0)
    message(FATAL_ERROR "Configuring succeeded, but must fail:\n${output}")
endif()
string(REGEX REPLACE "[ \n]+" " " output_in_one_line "${output}")
foreach(text IN LISTS MESSAGES)
    string(FIND "${output_in_one_line}" "${text}" place)
    if(place EQUAL -1)
        message(FATAL_ERROR "Configuring failed without the message\n  ${text}\nIts output:\n${output}")
    endif()
endforeach()
