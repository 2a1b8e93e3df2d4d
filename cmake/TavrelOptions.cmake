# What every target of the project is compiled with. Warnings are errors where
# CMAKE_COMPILE_WARNING_AS_ERROR is on, as the project's scripts have it.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

get_filename_component(TAVREL_ROOT ${CMAKE_CURRENT_LIST_DIR} DIRECTORY)
add_library(tavrel_options INTERFACE)
target_compile_options(tavrel_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
target_include_directories(tavrel_options INTERFACE ${TAVREL_ROOT})
if(TAVREL_FUZZ)
    target_compile_options(tavrel_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(TAVREL_SANITIZE)
    target_compile_options(tavrel_options INTERFACE -fsanitize=${TAVREL_SANITIZE} -fno-sanitize-recover=all)
    target_link_options(tavrel_options INTERFACE -fsanitize=${TAVREL_SANITIZE})
endif()
