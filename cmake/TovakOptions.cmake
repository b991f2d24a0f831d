# Warnings and sanitizers of the project's own targets, as the usage
# requirements of tovak_build_flags. The library's targets pass them on
# (PUBLIC, in the build tree only), so everything built against the library
# here (tests, tools, server, benchmarks, examples, the Python extension) is
# compiled and linked the same way; an installed library passes on nothing.
add_library(tovak_build_flags INTERFACE)
target_compile_options(tovak_build_flags INTERFACE
  -Wall -Wextra $<$<BOOL:${TOVAK_WERROR}>:-Werror>)
if(TOVAK_SANITIZE)
  target_compile_options(tovak_build_flags INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(tovak_build_flags INTERFACE -fsanitize=address,undefined)
endif()
