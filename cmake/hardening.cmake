# Optimised builds check buffers and return addresses known to the compiler, check the bounds of
# the standard library's containers, and resolve all calls into libraries at the start, so that their
# tables are read-only from then on. Sanitizers check more, and _FORTIFY_SOURCE needs optimisation.
# Flags given on the command line have precedence.
if(NOT CMAKE_CXX_FLAGS MATCHES "sanitize")
  include(CheckCXXCompilerFlag)
  set(optimised "$<CONFIG:Release,RelWithDebInfo,MinSizeRel>")
  if(NOT CMAKE_CXX_FLAGS MATCHES "_FORTIFY_SOURCE")
    add_compile_options("$<${optimised}:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  endif()
  foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection=full)
    string(MAKE_C_IDENTIFIER "TSH_HAS${flag}" has)
    check_cxx_compiler_flag(${flag} ${has})
    if(${has})
      add_compile_options("$<${optimised}:${flag}>")
    endif()
  endforeach()
  add_compile_definitions("$<$<AND:${optimised},$<COMPILE_LANGUAGE:CXX>>:_GLIBCXX_ASSERTIONS>")
  add_link_options("$<${optimised}:-Wl,-z,relro,-z,now>")
endif()
