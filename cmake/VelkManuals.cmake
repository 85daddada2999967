# What the programs write of themselves while they are built: manual pages and completions of shells.

add_custom_target(manuals ALL)

# velk_program_text(PROGRAM FILE DESTINATION [RENAME name] ARGUMENTS...): FILE is what PROGRAM prints with ARGUMENTS, and
# is installed to DESTINATION.
function(velk_program_text program file destination)
    cmake_parse_arguments(ARG "" "RENAME" "" ${ARGN})
    set(made ${CMAKE_BINARY_DIR}/manuals/${file})
    if(NOT ARG_RENAME)
        set(ARG_RENAME ${file})
    endif()
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/manuals)
    add_custom_command(OUTPUT ${made} DEPENDS ${program} VERBATIM
        COMMAND ${program} ${ARG_UNPARSED_ARGUMENTS} > ${made})
    string(MAKE_C_IDENTIFIER text_${program}_${file} name)
    add_custom_target(${name} DEPENDS ${made})
    add_dependencies(manuals ${name})
    install(FILES ${made} DESTINATION ${destination} RENAME ${ARG_RENAME})
endfunction()
