# Looks for what the Python package is built with: an interpreter that has NumPy, its headers, and pybind11. The first
# python3 on the path may be one without NumPy, so the system's is tried as well. Python_EXECUTABLE names another.
set(PYBIND11_NOPYTHON ON)  # its headers are all that is needed
find_package(pybind11 CONFIG QUIET)
if(pybind11_FOUND AND NOT TAVI_SANITIZE)
  find_program(first_python python3 NO_CACHE)
  foreach(candidate IN ITEMS ${Python_EXECUTABLE} ${first_python} /usr/bin/python3)
    execute_process(COMMAND ${candidate} -c "import numpy" RESULT_VARIABLE status OUTPUT_QUIET ERROR_QUIET)
    if(status EQUAL 0)
      # Set in each run: what the first one has found, a second one would look for anew.
      set(Python_EXECUTABLE ${candidate})
      find_package(Python 3.9 QUIET COMPONENTS Interpreter Development.Module NumPy)
      break()
    endif()
  endforeach()
endif()
set(has_python OFF)
if(PROJECT_IS_TOP_LEVEL AND Python_FOUND AND pybind11_FOUND)
  set(has_python ON)
endif()
option(TAVI_BUILD_PYTHON "Build the Python package" ${has_python})
if(TAVI_BUILD_PYTHON AND NOT (Python_FOUND AND pybind11_FOUND))
  message(FATAL_ERROR "TAVI_BUILD_PYTHON needs the headers of Python, NumPy and pybind11, and no TAVI_SANITIZE")
endif()
