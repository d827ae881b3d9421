# The Archicad adapter's sources: compiled into the add-on bundle on macOS, and compiled here
# against the stand-in headers (StandIns/) so that every call type-checks on every machine.
set(VELMORA_ADAPTER_SOURCES
    ${CMAKE_CURRENT_LIST_DIR}/ArchicadPort.cpp
    ${CMAKE_CURRENT_LIST_DIR}/Attributes.cpp
    ${CMAKE_CURRENT_LIST_DIR}/BrowserItem.cpp
    ${CMAKE_CURRENT_LIST_DIR}/Callbacks.cpp
    ${CMAKE_CURRENT_LIST_DIR}/DialogApi.cpp
    ${CMAKE_CURRENT_LIST_DIR}/EntryPoints.cpp
    ${CMAKE_CURRENT_LIST_DIR}/HostText.cpp
    ${CMAKE_CURRENT_LIST_DIR}/JsBridgeValues.cpp
    ${CMAKE_CURRENT_LIST_DIR}/ModelAccess.cpp
    ${CMAKE_CURRENT_LIST_DIR}/ModelReader.cpp
    ${CMAKE_CURRENT_LIST_DIR}/NumberingChecks.cpp
    ${CMAKE_CURRENT_LIST_DIR}/PaletteWindow.cpp
    ${CMAKE_CURRENT_LIST_DIR}/ProjectAndWindow.cpp
    ${CMAKE_CURRENT_LIST_DIR}/Registration.cpp
    ${CMAKE_CURRENT_LIST_DIR}/View3D.cpp)
