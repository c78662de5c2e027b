# Compresses what Debian wants compressed, in the folders from which CPack is about to make packages.

file(GLOB pages
    ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/man/man?/*
    ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/doc/*/changelog)
execute_process(COMMAND gzip -9n ${pages} COMMAND_ERROR_IS_FATAL ANY)
