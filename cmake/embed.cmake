# SPDX-License-Identifier: LGPL-2.1-or-later
# Writes FILES into OUTPUT, a source file, as the array NAME of file names and texts.
separate_arguments(files UNIX_COMMAND "${FILES}")
set(text "namespace eswctl {\nextern const char *const ${NAME}[][2];\nconst char *const ${NAME}[][2] = {\n")
foreach(file ${files})
    file(READ ${file} contents)
    cmake_path(GET file FILENAME name)
    string(APPEND text "{\"${name}\", R\"embedded(${contents})embedded\"},\n")
endforeach()
file(WRITE ${OUTPUT} "${text}{nullptr, nullptr}};\n} // namespace eswctl\n")
