# Turns every shaders/*.glsl file into a C++ string constant, so the
# executable carries its GPU programs and needs no files at run time.
# Run as a script: cmake -DSHADER_DIR=... -DOUTPUT=... -P EmbedShaders.cmake
file(GLOB shader_files ${SHADER_DIR}/*.glsl)
list(SORT shader_files)
set(body "// Generated from the shaders folder at build time; do not edit.\n#include \"compositor/ShaderSources.h\"\n\nnamespace tavorin::shaders {\n\n")
foreach(file ${shader_files})
  get_filename_component(name ${file} NAME_WE)
  file(READ ${file} text)
  string(APPEND body "const char* const ${name} = R\"tavorin_glsl(${text})tavorin_glsl\";\n\n")
endforeach()
string(APPEND body "}  // namespace tavorin::shaders\n")
file(WRITE ${OUTPUT}.tmp "${body}")
file(COPY_FILE ${OUTPUT}.tmp ${OUTPUT} ONLY_IF_DIFFERENT)
file(REMOVE ${OUTPUT}.tmp)
