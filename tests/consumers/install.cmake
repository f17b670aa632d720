# Installs the build in buildDir into an empty prefix.
file(REMOVE_RECURSE "${prefix}")
execute_process(
    COMMAND "${CMAKE_COMMAND}" --install "${buildDir}" --prefix "${prefix}"
    OUTPUT_QUIET
    COMMAND_ERROR_IS_FATAL ANY)
