# The interpreter the Python module is built for, unless -DPython3_EXECUTABLE
# names one: the first of python3 on PATH and /usr/bin/python3 that has numpy,
# which the module needs. A version manager's shim on PATH (pyenv) may hide
# the system interpreter that Debian's python3-numpy and python3-pytest serve.
if(NOT DEFINED Python3_EXECUTABLE)
  find_program(QUORVIX_PATH_PYTHON3 python3)
  foreach(candidate IN ITEMS ${QUORVIX_PATH_PYTHON3} /usr/bin/python3)
    if(EXISTS ${candidate})
      execute_process(COMMAND ${candidate} -c "import numpy" RESULT_VARIABLE numpy_missing
                      OUTPUT_QUIET ERROR_QUIET)
      if(NOT numpy_missing)
        set(Python3_EXECUTABLE ${candidate} CACHE FILEPATH "Python interpreter")
        break()
      endif()
    endif()
  endforeach()
endif()
