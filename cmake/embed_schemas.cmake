# SPDX-License-Identifier: LGPL-2.1-or-later
# Writes the files of SCHEMAS into OUTPUT, a source file.
file(GLOB files ${SCHEMAS}/*.schema.json)
set(text "namespace eswctl {\nextern const char *const schema_files[][2];\nconst char *const schema_files[][2] = {\n")
foreach(file ${files})
    file(READ ${file} schema)
    cmake_path(GET file FILENAME name)
    string(APPEND text "{\"${name}\", R\"schema(${schema})schema\"},\n")
endforeach()
file(WRITE ${OUTPUT} "${text}{nullptr, nullptr}};\n} // namespace eswctl\n")
