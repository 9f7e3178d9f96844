# bf_options: what every target of the project compiles with.
add_library(bf_options INTERFACE)
target_include_directories(bf_options INTERFACE ${CMAKE_SOURCE_DIR}/include)
target_compile_options(bf_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wundef -Wcast-qual
  -Wformat=2 -Wnull-dereference -Wvla
  # clang does not take a va_list's format for checked where it came in
  $<$<OR:$<C_COMPILER_ID:Clang>,$<CXX_COMPILER_ID:Clang>>:-Wno-format-nonliteral>
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>)
if(BF_WERROR)
  target_compile_options(bf_options INTERFACE -Werror)
endif()
if(BF_SANITIZE)
  target_compile_options(bf_options INTERFACE
    -fsanitize=${BF_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(bf_options INTERFACE -fsanitize=${BF_SANITIZE})
  # clang has no such macro of its own
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND BF_SANITIZE MATCHES "address")
    target_compile_definitions(bf_options INTERFACE __SANITIZE_ADDRESS__)
  elseif(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND BF_SANITIZE MATCHES "thread")
    target_compile_definitions(bf_options INTERFACE __SANITIZE_THREAD__)
  endif()
endif()
