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
    "plugins:sketch/kernel"
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
    if(include MATCHES "^<(Q|qt)" AND folder MATCHES "^(sketch/kernel|plugins)$")
        set(fault "the kernels and the plug-ins know no toolkit")
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
    elseif(NOT include MATCHES "\\.h$")
        set(fault "only headers (.h) are included")
    elseif(NOT target STREQUAL folder AND NOT target IN_LIST allowed)
        string(REPLACE ";" ", " names "${allowed}")
        if(names STREQUAL "")
            set(names "nothing else of the tree")
        endif()
        set(fault "${folder}/ may include ${names}")
    endif()
    set(${result} "${fault}" PARENT_SCOPE)
endfunction()

# The directives of a file, one element a line. What means something in a list
# (brackets, semicolons, backslashes) becomes what cannot be confused with it.
function(_crayvell_directives file result)
    file(READ "${file}" text)
    string(REGEX REPLACE "[][;]" "?" text "${text}")
    string(REPLACE "\\" "~" text "${text}")
    string(REGEX MATCHALL "[^\n]*(#|%:|\\?\\?=)[^\n]*" lines "${text}")
    set(${result} "${lines}" PARENT_SCOPE)
endfunction()

# Looks at the includes of one file. Spellings of a directive that only a compiler can
# see through (a comment or a line's end in its midst) are none.
function(_crayvell_check_file top folder allowed source)
    _crayvell_directives("${top}/${source}" lines)
    foreach(line IN LISTS lines)
        if(line MATCHES "^#include (\"([^\"]+)\"|(<[^>]+>))( //.*)?$")
            set(include "${CMAKE_MATCH_2}${CMAKE_MATCH_3}")
            _crayvell_include_fault("${top}" "${folder}" "${allowed}" "${include}" fault)
            if(fault)
                message(SEND_ERROR "${source} includes ${include}: ${fault}")
            endif()
        elseif(line MATCHES "(#|%:|\\?\\?=).*(include|import|embed)"
            OR line MATCHES "(#|%:|\\?\\?=)[ \t]*[a-z_]*[ \t]*(~|/\\*)")
            message(SEND_ERROR "${source} includes in a way that is not read here,"
                " write #include alone on its line: ${line}")
        endif()
    endforeach()
endfunction()

# Folders at the top with sources that no rule is about: what they may include would
# be for nobody to say. A folder that CMake builds in, under any name, has none of ours,
# nor has the one that packages are made in.
function(_crayvell_check_top_folders top)
    file(GLOB folders RELATIVE "${top}" "${top}/*")
    list(FILTER folders EXCLUDE REGEX "^(\\..*|build.*|debian|tests|bench)$")
    foreach(folder IN LISTS folders)
        if(EXISTS "${top}/${folder}/CMakeFiles")
            continue()
        endif()
        file(GLOB_RECURSE sources "${top}/${folder}/*.cpp" "${top}/${folder}/*.h")
        _crayvell_folder_of("${folder}/" known)
        if(sources AND NOT known)
            message(SEND_ERROR "${folder}/ has no rule in cmake/CheckIncludes.cmake")
        endif()
    endforeach()
endfunction()

# Stops with a line for each include that its folder may not have.
function(crayvell_check_includes top)
    _crayvell_check_top_folders("${top}")
    foreach(rule IN LISTS CRAYVELL_INCLUDE_RULES)
        string(REGEX REPLACE ":.*" "" folder "${rule}")
        string(REGEX REPLACE ".*:" "" allowed "${rule}")
        string(REPLACE "," ";" allowed "${allowed}")
        set(patterns "")
        foreach(suffix IN ITEMS c cc cpp cxx h hh hpp hxx inl)
            list(APPEND patterns "${top}/${folder}/*.${suffix}")
        endforeach()
        file(GLOB_RECURSE sources RELATIVE "${top}" ${patterns})
        # An editor's lock or backup, or a build's.
        list(FILTER sources EXCLUDE REGEX "(^|/)(\\.|build(-[^/]*)?/)")
        foreach(source IN LISTS sources)
            _crayvell_folder_of("${source}" own)
            if(own STREQUAL folder)
                _crayvell_check_file("${top}" "${folder}" "${allowed}" "${source}")
            endif()
        endforeach()
    endforeach()
endfunction()

if(CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
    crayvell_check_includes("${TOP}")
endif()
