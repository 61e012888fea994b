# Every target of the tree links rova_flags: include root, warnings, sanitizers.
add_library(rova_flags INTERFACE)
target_include_directories(rova_flags INTERFACE ${CMAKE_SOURCE_DIR})
target_include_directories(rova_flags INTERFACE ${CMAKE_SOURCE_DIR}/platform/include)
# The headers of librova: those of the records lie with common/, which uses them too.
target_include_directories(rova_flags INTERFACE
  ${CMAKE_SOURCE_DIR}/common/include ${CMAKE_SOURCE_DIR}/lib/include)
target_compile_definitions(rova_flags INTERFACE _GNU_SOURCE _FILE_OFFSET_BITS=64)
target_compile_options(rova_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion
  -fasynchronous-unwind-tables -fno-omit-frame-pointer)
# What only clang warns about: g++ does not count the first among -Wconversion.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_options(rova_flags INTERFACE -Wno-sign-conversion -Wno-keyword-macro)
endif()
# A call that is bound when it is first made may take the loader's locks: not where a thread may be
# cancelled, nor in a signal handler.
target_link_options(rova_flags INTERFACE LINKER:-z,now)
if(ROVA_WERROR)
  target_compile_options(rova_flags INTERFACE -Werror)
endif()
if(ROVA_SANITIZE)
  # For what a sanitizer cannot do: the compilers' own names for them differ.
  target_compile_definitions(rova_flags INTERFACE ROVA_SANITIZED)
  foreach(sanitizer address thread)
    if(",${ROVA_SANITIZE}," MATCHES ",${sanitizer},")
      string(TOUPPER ROVA_SANITIZE_${sanitizer} definition)
      target_compile_definitions(rova_flags INTERFACE ${definition})
    endif()
  endforeach()
  target_compile_options(rova_flags INTERFACE -fsanitize=${ROVA_SANITIZE} -fno-sanitize-recover=all)
  target_link_options(rova_flags INTERFACE -fsanitize=${ROVA_SANITIZE})
endif()
