# Installs the package with the library below PREFIX and uses it from another folder.
file(REMOVE_RECURSE ${PREFIX})
foreach(component Runtime Python)
  execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --config ${CONFIG} --prefix ${PREFIX} --component
                          ${component} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
execute_process(
  COMMAND
    ${CMAKE_COMMAND} -E env PYTHONPATH=${PREFIX}/${PYTHON_DIR} ${PYTHON} -c
    "import os, numpy, tavi
assert tavi.__file__.startswith('${PREFIX}'), tavi.__file__
loaded = [line.split()[-1] for line in open('/proc/self/maps') if 'libTaviOperators' in line]
assert loaded and all(path.startswith(os.path.realpath('${PREFIX}')) for path in loaded), loaded
volume = numpy.arange(24, dtype='uint16').reshape(2, 3, 4)
assert (tavi.saturation(volume, lower_limit=3, upper_limit=20) == volume.clip(3, 20)).all()
assert os.path.exists(tavi.__file__ + 'i') and os.path.exists(os.path.dirname(tavi.__file__) + '/py.typed')
print('tavi', tavi.__version__)"
  WORKING_DIRECTORY ${PREFIX} COMMAND_ERROR_IS_FATAL ANY)
