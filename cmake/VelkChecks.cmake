# Targets for the house's formatter and analyser: format, format-check, tidy.

file(GLOB_RECURSE velk_sources CONFIGURE_DEPENDS
    benchmarks/*.cpp benchmarks/*.h cli/*.cpp cli/*.h daemon/*.cpp daemon/*.h fuzz/*.cpp fuzz/*.h kit/*.cpp kit/*.h platform/*.cpp platform/*.h
    plugins/*.cpp plugins/*.h powerdistribution/*.cpp powerdistribution/*.h testing/*.h testing/*.cpp tests/*.cpp tests/*.h)
add_custom_target(format COMMAND clang-format-14 -i ${velk_sources} VERBATIM)
add_custom_target(format-check COMMAND clang-format-14 --dry-run --Werror ${velk_sources} VERBATIM)
add_custom_target(tidy COMMAND ${CMAKE_SOURCE_DIR}/cmake/tidy.sh ${CMAKE_BINARY_DIR} VERBATIM)
