# Warnings are errors in our own code. Link kx3_warnings privately into every target of ours.
add_library(kx3_warnings INTERFACE)
target_compile_options(kx3_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
  -Wnon-virtual-dtor -Woverloaded-virtual -Wnull-dereference -Wcast-align -Wformat=2)
# Before version 13 g++ sees overlapping copies in the inlined string operator+ that are not there.
target_compile_options(kx3_warnings INTERFACE
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>)
