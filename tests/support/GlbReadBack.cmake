# The independent .glb reader (tinygltf), without GoogleTest so that fuzz targets link it too.
include_guard(GLOBAL)
find_package(TinyGLTF CONFIG REQUIRED)
add_library(velmora_glb_readback STATIC ${CMAKE_CURRENT_LIST_DIR}/GlbReadBack.cpp)
target_include_directories(velmora_glb_readback PUBLIC ${CMAKE_CURRENT_LIST_DIR}/..)
target_link_libraries(velmora_glb_readback PUBLIC TinyGLTF::TinyGLTF)
velmora_warnings(velmora_glb_readback)
