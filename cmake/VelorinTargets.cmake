# One place for compiler settings, so that every target is built alike.

add_library(velorin_options INTERFACE)
target_include_directories(velorin_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
# No fused multiply-add: the replicator and the geometry give the same bits on every compiler.
target_compile_options(velorin_options INTERFACE -ffp-contract=off -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 sees overlapping and overflowing copies inside std::string and std::vector that are not there (its bugs
  # 105651 and 105329); the sanitizers watch for real ones.
  target_compile_options(velorin_options INTERFACE -Wno-restrict -Wno-stringop-overflow)
endif()
if(VELORIN_WERROR)
  target_compile_options(velorin_options INTERFACE -Werror)
endif()
if(VELORIN_SANITIZE)
  target_compile_options(velorin_options INTERFACE -fsanitize=${VELORIN_SANITIZE} -fno-omit-frame-pointer
                                                   -fno-sanitize-recover=all)
  target_link_options(velorin_options INTERFACE -fsanitize=${VELORIN_SANITIZE})
endif()
if(VELORIN_FUZZ)
  target_compile_options(velorin_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# velorin_add_library(NAME SOURCES a.cpp ... [PUBLIC libs...] [PRIVATE libs...]): a static library of src/.
function(velorin_add_library NAME)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(${NAME} STATIC ${ARG_SOURCES})
  target_link_libraries(${NAME} PUBLIC velorin_options ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
endfunction()

# velorin_add_test(NAME LABEL label SOURCES a.cpp ... [LIBS libs...] [ENV "A=B" ...]): one GoogleTest program,
# known to CTest as one test per label so that the suite starts few processes.
function(velorin_add_test NAME)
  cmake_parse_arguments(ARG "" "LABEL;TIMEOUT" "SOURCES;LIBS;ENV" ${ARGN})
  add_executable(${NAME} ${ARG_SOURCES} ${PROJECT_SOURCE_DIR}/tests/UserFolder.cpp)
  target_include_directories(${NAME} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${NAME} PRIVATE velorin_options ${ARG_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  target_compile_definitions(${NAME} PRIVATE VELORIN_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  add_test(NAME ${NAME} COMMAND ${NAME})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  if(VELORIN_SANITIZE) # several times as slow
    math(EXPR ARG_TIMEOUT "4 * ${ARG_TIMEOUT}")
  endif()
  set_tests_properties(${NAME} PROPERTIES LABELS "${ARG_LABEL}" TIMEOUT ${ARG_TIMEOUT}
    ENVIRONMENT "LIBGL_ALWAYS_SOFTWARE=1;EGL_PLATFORM=surfaceless;${ARG_ENV}")
endfunction()

# velorin_add_bench(NAME SOURCES a.cpp ... [LIBS libs...])
function(velorin_add_bench NAME)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${NAME} ${ARG_SOURCES})
  target_link_libraries(${NAME} PRIVATE velorin_options ${ARG_LIBS} benchmark::benchmark)
  target_compile_definitions(${NAME} PRIVATE VELORIN_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
endfunction()

# velorin_add_fuzzer(NAME SOURCES a.cpp [LIBS libs...]); the target velorin_fuzzers builds them all and nothing else: the
# plug-in, which leaves no symbol open, cannot be linked with this instrumentation.
function(velorin_add_fuzzer NAME)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${NAME} ${ARG_SOURCES})
  target_link_libraries(${NAME} PRIVATE velorin_options ${ARG_LIBS})
  target_link_options(${NAME} PRIVATE -fsanitize=fuzzer)
  if(NOT TARGET velorin_fuzzers)
    add_custom_target(velorin_fuzzers)
  endif()
  add_dependencies(velorin_fuzzers ${NAME})
endfunction()

# velorin_embed_text(TARGET NAMESPACE HEADER FILES...): turns text files (shaders, kernels) into one generated
# header, a `constexpr std::string_view` a file, named after the file with dots as underscores.
function(velorin_embed_text TARGET NAMESPACE HEADER)
  set(OUT ${PROJECT_BINARY_DIR}/generated/${HEADER})
  set(INPUTS)
  foreach(F ${ARGN})
    get_filename_component(A ${F} ABSOLUTE)
    list(APPEND INPUTS ${A})
  endforeach()
  add_custom_command(OUTPUT ${OUT}
    COMMAND ${CMAKE_COMMAND} -DOUT=${OUT} -DNAMESPACE=${NAMESPACE} "-DINPUTS=${INPUTS}"
            -P ${PROJECT_SOURCE_DIR}/cmake/EmbedText.cmake
    DEPENDS ${INPUTS} ${PROJECT_SOURCE_DIR}/cmake/EmbedText.cmake VERBATIM)
  add_custom_target(${TARGET}_text DEPENDS ${OUT})
  add_dependencies(${TARGET} ${TARGET}_text)
  # Only here: the same compiler line in every build folder lets ccache share the rest.
  target_include_directories(${TARGET} PRIVATE ${PROJECT_BINARY_DIR}/generated)
endfunction()
