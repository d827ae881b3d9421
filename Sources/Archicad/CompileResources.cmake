# Compiles the add-on's .grc resource files into its bundle, following the DevKit's resource
# pipeline on macOS: preprocess with clang, compile with ResConv, then put the fixed resources
# (RFIX) in Contents/Resources and the localised ones (RINT) in Contents/Resources/<Region>.lproj,
# with every .strings output joined into Localizable.strings.
# Run with cmake -P; DEVKIT_DIR, SOURCES_DIR, RESOURCES_DIR, WORK_DIR, BUNDLE_CONTENTS, REGION.
cmake_minimum_required(VERSION 3.25)

set(resConv ${DEVKIT_DIR}/Tools/OSX/ResConv)
set(resources ${BUNDLE_CONTENTS}/Resources)
set(localised ${resources}/${REGION}.lproj)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR} ${resources} ${localised})

set(images ${RESOURCES_DIR}/RFIX/Images)
if(NOT IS_DIRECTORY ${images})
    set(images ${WORK_DIR}/Images)
    file(MAKE_DIRECTORY ${images})
endif()

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "resource step failed (${result}): ${ARGN}")
    endif()
endfunction()

set(stringsFiles)
foreach(kind RFIX RINT)
    file(GLOB grcFiles ${RESOURCES_DIR}/${kind}/*.grc)
    set(out ${WORK_DIR}/${kind})
    file(MAKE_DIRECTORY ${out})
    foreach(grc ${grcFiles})
        get_filename_component(name ${grc} NAME)
        run(xcrun clang -x c++ -E -P -Dmacintosh -I ${DEVKIT_DIR}/Inc
            -I ${DEVKIT_DIR}/Modules/DGLib -I ${SOURCES_DIR} -I ${WORK_DIR}
            -o ${out}/${name}.i ${grc})
        run(${resConv} -m r -T M -q utf8 utf16 -w 2 -p ${images} -i ${out}/${name}.i
            -o ${out}/${name}.ro)
    endforeach()
    file(GLOB rsrd ${out}/*.rsrd)
    file(GLOB tif ${out}/*.tif)
    file(GLOB strings ${out}/*.strings)
    list(APPEND stringsFiles ${strings})
    if(kind STREQUAL "RFIX")
        set(target ${resources})
    else()
        set(target ${localised})
    endif()
    if(rsrd)
        file(COPY ${rsrd} DESTINATION ${target})
    endif()
    if(tif)
        file(COPY ${tif} DESTINATION ${resources})
    endif()
endforeach()

if(stringsFiles)
    # UTF-16 files joined end to end, as the DevKit's own script does.
    run(/bin/sh -c "cat \"$@\" > \"${localised}/Localizable.strings\"" sh ${stringsFiles})
endif()
file(COPY ${DEVKIT_DIR}/Inc/PkgInfo DESTINATION ${BUNDLE_CONTENTS})
