# Turns one text file into a C++ string constant, so the executable carries
# it and needs no files at run time.
# Run as a script: cmake -DINPUT=... -DOUTPUT=... -DNAME=... -P EmbedText.cmake
file(READ ${INPUT} text)
set(body "// Generated from ${NAME}'s file at build time; do not edit.\nnamespace tavorin {\n\nextern const char* const ${NAME};\nconst char* const ${NAME} = R\"tavorin_text(${text})tavorin_text\";\n\n}  // namespace tavorin\n")
file(WRITE ${OUTPUT}.tmp "${body}")
file(COPY_FILE ${OUTPUT}.tmp ${OUTPUT} ONLY_IF_DIFFERENT)
file(REMOVE ${OUTPUT}.tmp)
