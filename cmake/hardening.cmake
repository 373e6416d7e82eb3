# Optimised builds check the buffers and return addresses that the compiler knows, and resolve all
# calls into libraries at the start, so that their tables are read-only from then on. Sanitizers do
# more, and the checks of the C library need optimisation. Flags of whoever packs it come first.
if(NOT CMAKE_CXX_FLAGS MATCHES "sanitize")
  set(optimised "$<CONFIG:Release,RelWithDebInfo,MinSizeRel>")
  if(NOT CMAKE_CXX_FLAGS MATCHES "_FORTIFY_SOURCE")
    add_compile_options("$<${optimised}:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  endif()
  add_compile_options("$<${optimised}:-fstack-protector-strong>")
  add_link_options("$<${optimised}:-Wl,-z,relro,-z,now>")
endif()
