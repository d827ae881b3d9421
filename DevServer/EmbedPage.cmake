# Writes a C++ source holding the web app's files:
# cmake -DPAGE_DIR=... -DOUTPUT=... -P EmbedPage.cmake
set(files index.html text/html app.js text/javascript app.css text/css)
set(body "#include \"DevServer/PageFiles.hpp\"\n\nnamespace Velmora::DevServer {\n\n"
         "std::vector<PageFile> const& PageFiles() {\n"
         "    static std::vector<PageFile> const files = {\n")
list(LENGTH files count)
math(EXPR last "${count} - 1")
foreach(i RANGE 0 ${last} 2)
    math(EXPR type_index "${i} + 1")
    list(GET files ${i} name)
    list(GET files ${type_index} type)
    file(READ ${PAGE_DIR}/${name} text)
    string(APPEND body "        {\"${name}\", \"${type}\", R\"velmora_page(${text})velmora_page\"},\n")
endforeach()
string(APPEND body "    };\n    return files;\n}\n\n} // namespace Velmora::DevServer\n")
file(WRITE ${OUTPUT}.tmp "${body}")
file(COPY_FILE ${OUTPUT}.tmp ${OUTPUT} ONLY_IF_DIFFERENT)
