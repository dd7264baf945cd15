# What distributions ask of programs that users run: position-independent, with a guarded stack, with
# checked copies (which need optimisation, and which the sanitizers' own checks replace) and with all
# addresses bound, and made read-only, before the program starts.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
add_compile_options(
  $<${optimised}:-fstack-protector-strong>
  $<${optimised}:-fstack-clash-protection>
  $<${optimised}:-U_FORTIFY_SOURCE>
  $<${optimised}:-D_FORTIFY_SOURCE=2>)
add_link_options(LINKER:-z,relro LINKER:-z,now)
