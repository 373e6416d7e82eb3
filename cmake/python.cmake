# Python of the tests, as Python3_EXECUTABLE: one with the required modules, preferably Debian's.
function(tsh_python_has_modules result python)
  execute_process(COMMAND ${python} -c "import jsonschema, pexpect, yaml" RESULT_VARIABLE status
                  OUTPUT_QUIET ERROR_QUIET)
  string(COMPARE EQUAL "${status}" 0 found)
  set(${result} ${found} PARENT_SCOPE)
endfunction()

if(NOT Python3_EXECUTABLE)
  tsh_python_has_modules(found /usr/bin/python3)
  if(found)
    set(Python3_EXECUTABLE /usr/bin/python3)
  endif()
endif()
find_package(Python3 REQUIRED COMPONENTS Interpreter)
tsh_python_has_modules(found ${Python3_EXECUTABLE})
if(NOT found)
  message(FATAL_ERROR "The tests need a Python with the modules jsonschema, pexpect and yaml, which "
                      "${Python3_EXECUTABLE} lacks. Install them (Debian: python3-jsonschema "
                      "python3-pexpect python3-yaml) or name another one with "
                      "-DPython3_EXECUTABLE=FILE.")
endif()
