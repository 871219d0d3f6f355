# Warnings, sanitizers and the helpers every subsystem's CMakeLists uses.

add_compile_options(-Wall -Wextra)
if(CORVANE_WERROR)
    add_compile_options(-Werror)
endif()
if(CORVANE_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    add_link_options(-fsanitize=address,undefined)
endif()
if(CORVANE_FUZZ_INSTRUMENTED)
    # Coverage for libFuzzer in every library; the fuzzer programs add libFuzzer's main.
    add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer
                        -fno-sanitize-recover=undefined)
    add_link_options(-fsanitize=address,undefined)
endif()

# corvane_library(NAME [AUTOMOC] SOURCES ... DEPS ...)
# One static library per subsystem folder, named corvane_<NAME>, include root at src/.
function(corvane_library name)
    cmake_parse_arguments(ARG "AUTOMOC" "" "SOURCES;DEPS" ${ARGN})
    add_library(corvane_${name} STATIC ${ARG_SOURCES})
    target_include_directories(corvane_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(corvane_${name} PUBLIC ${ARG_DEPS})
    set_target_properties(corvane_${name} PROPERTIES AUTOMOC ON)
endfunction()
