# Warnings and sanitizers for every target of the project.
add_compile_options(-Wall -Wextra)
if(TOVAK_WERROR)
  add_compile_options(-Werror)
endif()

if(TOVAK_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
