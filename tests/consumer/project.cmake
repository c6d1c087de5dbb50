cmake_minimum_required(VERSION 3.25)
project(Consumer LANGUAGES CXX)

# What a project of its own may have set for itself.
set(CMAKE_CXX_STANDARD 17)

add_subdirectory("${CRAYVELL_TREE}" crayvell EXCLUDE_FROM_ALL)

add_executable(consumer "${CRAYVELL_TREE}/tests/consumer/consumer.cpp")
target_link_libraries(consumer PRIVATE crayvell_app crayvell_canvas crayvell_sketch)
