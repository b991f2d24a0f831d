# Fuzz build: every object is instrumented for libFuzzer's coverage feedback
# and checked by AddressSanitizer and UndefinedBehaviorSanitizer; only the
# fuzz targets link libFuzzer itself (tests/fuzz). Needs clang.
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang" OR NOT CMAKE_C_COMPILER_ID STREQUAL "Clang")
  message(FATAL_ERROR "TOVAK_FUZZ needs clang (libFuzzer), for example "
                      "-DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++")
endif()
if(TOVAK_SANITIZE)
  message(FATAL_ERROR "TOVAK_FUZZ brings its own sanitizers: leave TOVAK_SANITIZE off")
endif()
# Optimised a little (-O1): several times the inputs per second of an -O0
# build, with stack traces that still name every frame.
target_compile_options(tovak_build_flags INTERFACE
  -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all
  -fno-omit-frame-pointer -g -O1)
target_link_options(tovak_build_flags INTERFACE -fsanitize=address,undefined)
