# Warnings are errors in our own code; third-party headers come in as system includes.
function(velmora_warnings target)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast
        -Wcast-align -Wunused -Woverloaded-virtual -Wnull-dereference -Werror)
endfunction()
