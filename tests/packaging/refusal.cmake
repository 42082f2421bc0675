# Configures SOURCE into BUILD with OPTIONS, which must fail and say each of the texts in SAYS. Line breaks and
# indentation do not count.

file(REMOVE_RECURSE ${BUILD})
execute_process(COMMAND ${CMAKE_COMMAND} -G ${GENERATOR} -S ${SOURCE} -B ${BUILD} ${OPTIONS}
    RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(status EQUAL 0)
    message(FATAL_ERROR "Configuring was expected to fail, and did not:\n${output}")
endif()
string(REGEX REPLACE "[ \n]+" " " output_in_one_line "${output}")
foreach(text IN LISTS SAYS)
    string(FIND "${output_in_one_line}" "${text}" place)
    if(place EQUAL -1)
        message(FATAL_ERROR "Configuring failed, but did not say\n  ${text}\nbut:\n${output}")
    endif()
endforeach()
