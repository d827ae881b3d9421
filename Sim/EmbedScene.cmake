# Writes a C++ source holding a scene file's text: cmake -DSCENE=... -DOUTPUT=... -P EmbedScene.cmake
file(READ ${SCENE} text)
file(WRITE ${OUTPUT}.tmp "namespace Velmora::Sim {\nextern char const* const kEmbeddedSampleScene;\n"
     "char const* const kEmbeddedSampleScene = R\"velmora_scene(${text})velmora_scene\";\n}\n")
file(COPY_FILE ${OUTPUT}.tmp ${OUTPUT} ONLY_IF_DIFFERENT)
