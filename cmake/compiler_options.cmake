# Warnings, sanitizers and code generation common to every target of the project.
add_compile_options(-Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wformat=2 -Wundef
                    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
                    $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>)

# A unique symbol would pin the plug-in in memory for ever: dlclose could not unload it.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
endif()

if(TALLYRA_SANITIZE)
  add_compile_options(-fsanitize=${TALLYRA_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${TALLYRA_SANITIZE})
endif()
