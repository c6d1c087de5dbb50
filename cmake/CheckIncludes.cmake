# Which folder may include what of the tree. With include() this gives
# crayvell_check_includes(TOP), which is called at every configuration; as a script,
#
#     cmake -D TOP=FOLDER -P cmake/CheckIncludes.cmake
#
# checks the tree in FOLDER and fails where it breaks the rules.

cmake_minimum_required(VERSION 3.25)

# FOLDER: the folders that it may include, beside itself. The longest name that fits
# a file's path is its folder. Nothing above it and nothing beside it: no circles.
set(CRAYVELL_INCLUDE_RULES
    "sketch/kernel:"
    "sketch/reference:"
    "sketch:sketch/kernel"
    "photo:"
    "photo/decode:photo"
    "photo/encode:photo"
    "canvas:"
    "app:sketch,canvas,photo"
    "batch/cli:"
    "batch:batch/cli,photo,photo/decode,photo/encode,sketch"
    "examples:examples,canvas")

# The folder of the rules that a path belongs to; empty for none.
function(_crayvell_folder_of path result)
    set(best "")
    foreach(rule IN LISTS CRAYVELL_INCLUDE_RULES)
        string(REGEX REPLACE ":.*" "" folder "${rule}")
        string(LENGTH "${best}" length)
        string(LENGTH "${folder}" longer)
        string(FIND "${path}" "${folder}/" at)
        if(at EQUAL 0 AND longer GREATER length)
            set(best "${folder}")
        endif()
    endforeach()
    set(${result} "${best}" PARENT_SCOPE)
endfunction()

# Why a file of one folder may not have such an include; empty where it may.
function(_crayvell_include_fault top folder allowed include result)
    set(fault "")
    _crayvell_folder_of("${include}" target)
    string(REGEX REPLACE "^<([^/>]*).*" "\\1" first "${include}")
    if(include MATCHES "^<(Q|qt)" AND folder STREQUAL "sketch/kernel")
        set(fault "the kernels know no toolkit")
    elseif(include MATCHES "^/|^<[ \t]*/|(^|/)\\.\\.?/|//")
        set(fault "the path must be written in one way, from the top of the tree")
    elseif(include MATCHES "^<" AND IS_DIRECTORY "${top}/${first}")
        set(fault "the tree's own files stand in quotes")
    elseif(include MATCHES "^<|^[a-z_]+\\.moc$" OR (folder STREQUAL "app" AND include MATCHES "^ui_[a-z]+\\.h$"))
        # Of the system, or generated.
    elseif(include MATCHES "^tests/|^bench/")
        set(fault "the programs know nothing of their tests")
    elseif(target STREQUAL "")
        set(fault "the path must begin with a folder of the tree")
    elseif(NOT target STREQUAL folder AND NOT target IN_LIST allowed)
        string(REPLACE ";" ", " names "${allowed}")
        if(names STREQUAL "")
            set(names "nothing else of the tree")
        endif()
        set(fault "${folder}/ may include ${names}")
    endif()
    set(${result} "${fault}" PARENT_SCOPE)
endfunction()

# Stops with a line for each include that its folder may not have.
function(crayvell_check_includes top)
    foreach(rule IN LISTS CRAYVELL_INCLUDE_RULES)
        string(REGEX REPLACE ":.*" "" folder "${rule}")
        string(REGEX REPLACE ".*:" "" allowed "${rule}")
        string(REPLACE "," ";" allowed "${allowed}")
        file(GLOB_RECURSE sources RELATIVE "${top}" 
            "${top}/${folder}/*.cpp" "${top}/${folder}/*.h" "${top}/${folder}/*.hpp"
            "${top}/${folder}/*.cc" "${top}/${folder}/*.inl")
        list(FILTER sources EXCLUDE REGEX "(^|/)\\.") # an editor's lock or backup
        foreach(source IN LISTS sources)
            _crayvell_folder_of("${source}" own)
            if(NOT own STREQUAL folder)
                continue()
            endif()
            file(STRINGS "${top}/${source}" lines REGEX "^[ \t]*#[ \t]*include")
            foreach(line IN LISTS lines)
                if(line MATCHES "include[_a-z]*[ \t]*\"([^\"]*)\"")
                    set(include "${CMAKE_MATCH_1}")
                elseif(line MATCHES "include[_a-z]*[ \t]*(<[^>]*>)")
                    set(include "${CMAKE_MATCH_1}")
                else()
                    message(SEND_ERROR "${source} includes what stands in no quotes: ${line}")
                    continue()
                endif()
                _crayvell_include_fault("${top}" "${folder}" "${allowed}" "${include}" fault)
                if(fault)
                    message(SEND_ERROR "${source} includes ${include}: ${fault}")
                endif()
            endforeach()
        endforeach()
    endforeach()
endfunction()

if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
    crayvell_check_includes("${TOP}")
endif()
