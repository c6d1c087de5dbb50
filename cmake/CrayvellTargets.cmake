# What every target of the tree has in common. Nothing here changes a global
# setting, so that the tree can be part of another project.

# Language level, warnings, sanitizers and the include root for one target.
function(crayvell_configure_target target)
    target_compile_features(${target} PUBLIC cxx_std_20)
    target_include_directories(${target} PUBLIC "$<BUILD_INTERFACE:${Crayvell_SOURCE_DIR}>")
    target_compile_definitions(${target} PRIVATE QT_NO_CAST_TO_ASCII QT_DEPRECATED_WARNINGS)
    # -Wno-restrict: gcc 12 warns falsely about "text" + std::string (its bug 105651).
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow
        -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual -Wformat=2
        $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
        $<$<BOOL:${CRAYVELL_WERROR}>:-Werror>)
    if(CRAYVELL_SANITIZE MATCHES "^(thread|memory)$")
        target_compile_options(${target} PRIVATE
            -fsanitize=${CRAYVELL_SANITIZE} -fno-omit-frame-pointer)
        target_link_options(${target} PUBLIC -fsanitize=${CRAYVELL_SANITIZE})
    elseif(CRAYVELL_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=address,undefined
            -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
        target_link_options(${target} PUBLIC -fsanitize=address,undefined)
    endif()
    if(CRAYVELL_FUZZ)
        target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
endfunction()

# crayvell_library(name SOURCES files... LINK libraries...). A host that takes the tree in
# calls crayvell_canvas Crayvell::canvas as one that finds it installed does.
function(crayvell_library name)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;LINK")
    add_library(${name} STATIC ${ARG_SOURCES})
    string(REPLACE "crayvell_" "" public_name ${name})
    add_library(Crayvell::${public_name} ALIAS ${name})
    set_target_properties(${name} PROPERTIES
        POSITION_INDEPENDENT_CODE ON EXPORT_NAME ${public_name})
    target_link_libraries(${name} PUBLIC ${ARG_LINK})
    crayvell_configure_target(${name})
    _crayvell_note_sources(${ARG_SOURCES})
endfunction()

# crayvell_program(name SOURCES files... LINK libraries...)
function(crayvell_program name)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;LINK")
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_LINK})
    crayvell_configure_target(${name})
    _crayvell_note_sources(${ARG_SOURCES})
endfunction()

# What the sanitizers need to know of a test that they watch. Slow unwinding sees
# through the toolkit, so that suppressions can name the function of ours that is at
# the root of a leak.
function(crayvell_sanitize_test name)
    set(suppressions "${Crayvell_SOURCE_DIR}/tests/support/leaks.supp")
    set_tests_properties(${name} PROPERTIES ENVIRONMENT
        "ASAN_OPTIONS=fast_unwind_on_malloc=0;LSAN_OPTIONS=suppressions=${suppressions}:print_suppressions=0")
endfunction()

# What a user's surroundings would change of what a test sees: how large, in which style and
# where windows are drawn, and that options are none any more after the first file's name.
function(crayvell_own_surroundings name)
    set(changes QT_QPA_PLATFORM=set:offscreen QTEST_DISABLE_STACK_DUMP=set:1)
    foreach(variable IN ITEMS POSIXLY_CORRECT QT_ENABLE_HIGHDPI_SCALING QT_FONT_DPI
            QT_QPA_PLATFORMTHEME QT_SCALE_FACTOR QT_SCREEN_SCALE_FACTORS QT_STYLE_OVERRIDE)
        list(APPEND changes ${variable}=unset:)
    endforeach()
    set_tests_properties(${name} PROPERTIES ENVIRONMENT_MODIFICATION "${changes}")
endfunction()

function(_crayvell_note_sources)
    foreach(source IN LISTS ARGV)
        cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}" NORMALIZE)
        set_property(GLOBAL APPEND PROPERTY CRAYVELL_SOURCES "${source}")
    endforeach()
endfunction()

# crayvell_check_sources(FOLDERS folders... EXCEPT subfolders...) stops the
# configuration when a .cpp file below one of the folders belongs to no target: a
# forgotten test would otherwise look like a passing one. Subfolders end in "/".
function(crayvell_check_sources)
    cmake_parse_arguments(PARSE_ARGV 0 ARG "" "" "FOLDERS;EXCEPT")
    get_property(known GLOBAL PROPERTY CRAYVELL_SOURCES)
    foreach(folder IN LISTS ARG_FOLDERS)
        file(GLOB_RECURSE sources CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}"
            "${PROJECT_SOURCE_DIR}/${folder}/*.cpp")
        # A hidden one is an editor's, beside a file that is open in it; a build may have
        # been made in any folder.
        list(FILTER sources EXCLUDE REGEX "/(\\.|build(-[^/]*)?/)")
        foreach(subfolder IN LISTS ARG_EXCEPT)
            list(FILTER sources EXCLUDE REGEX "^${subfolder}")
        endforeach()
        foreach(source IN LISTS sources)
            if(NOT "${PROJECT_SOURCE_DIR}/${source}" IN_LIST known)
                message(SEND_ERROR "${source} belongs to no target")
            endif()
        endforeach()
    endforeach()
endfunction()
