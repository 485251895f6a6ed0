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

# Hardening of what is installed: no table that can be overwritten once loaded, no code in data, and
# checks of stack and buffers where the compiler can place them. The sanitizers bring their own.
include(CheckPIESupported)
check_pie_supported(LANGUAGES C CXX)
if(NOT TALLYRA_SANITIZE)
  add_compile_options(-fstack-protector-strong -fstack-clash-protection)
  if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
    add_compile_options(-mbranch-protection=standard)
  elseif(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
    add_compile_options(-fcf-protection=full)
  endif()
  # Without optimisation the C library refuses it.
  add_compile_options("$<$<NOT:$<CONFIG:Debug>>:SHELL:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>")
endif()
add_link_options(LINKER:-z,relro,-z,now,-z,noexecstack)
