# What every target of the project is compiled with. Warnings are errors where
# CMAKE_COMPILE_WARNING_AS_ERROR is on, as the project's scripts have it.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

get_filename_component(TAVREL_ROOT ${CMAKE_CURRENT_LIST_DIR} DIRECTORY)
add_library(tavrel_options INTERFACE)
target_compile_options(tavrel_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(tavrel_options INTERFACE -Wno-restrict) # it takes std::string's own insert for an overlap
endif()
target_include_directories(tavrel_options INTERFACE ${TAVREL_ROOT})
if(TAVREL_FUZZ)
    target_compile_options(tavrel_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(TAVREL_SANITIZE)
    target_compile_options(tavrel_options INTERFACE -fsanitize=${TAVREL_SANITIZE} -fno-sanitize-recover=all)
    target_link_options(tavrel_options INTERFACE -fsanitize=${TAVREL_SANITIZE})
endif()

# What is done once for what a person does is compiled small, as a program's pages are a part of its memory. What reads
# and writes versions by the thousand is compiled fast.
function(tavrel_compile_small target)
    target_compile_options(${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-Os>)
endfunction()
