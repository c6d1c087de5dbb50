cmake_minimum_required(VERSION 3.25)
project(Consumer LANGUAGES CXX)

# What a project of its own may have set for itself.
set(CMAKE_CXX_STANDARD 17)

# Asked for; a tree taken in offers its libraries alone.
set(CRAYVELL_BATCH ON)

add_subdirectory("${CRAYVELL_TREE}" crayvell EXCLUDE_FROM_ALL)

if(CRAYVELL_TESTS OR CRAYVELL_BENCH OR CRAYVELL_EXAMPLES)
    message(FATAL_ERROR "More of the tree is built than was asked for")
endif()

add_executable(consumer "${CRAYVELL_TREE}/tests/consumer/consumer.cpp")
target_link_libraries(consumer PRIVATE crayvell_app crayvell_canvas crayvell_sketch)
add_dependencies(consumer crayvell-batch)
