# SPDX-License-Identifier: LGPL-2.1-or-later
# Writes FILES into OUTPUT, a source file, as a function that yields the text of the one that it is given by name.
separate_arguments(files UNIX_COMMAND "${FILES}")
set(text "#include <string>\nnamespace eswctl {\nconst char *embedded(const std::string &file);\n")
string(APPEND text "const char *embedded(const std::string &file)\n{\n")
foreach(file ${files})
    file(READ ${file} contents)
    cmake_path(GET file FILENAME name)
    string(APPEND text "if (file == \"${name}\")\nreturn R\"embedded(${contents})embedded\";\n")
endforeach()
file(WRITE ${OUTPUT} "${text}return \"\";\n}\n} // namespace eswctl\n")
