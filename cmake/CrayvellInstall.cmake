# What is installed where. A system's packages and whoever installs by hand choose by
# component:
#
#     app    the window's program, its desktop entry, metainfo, icons and manual page
#     batch  crayvell-batch, its entry and icons, manual page and completions
#     doc    the texts for readers
#     dev    headers, static libraries and the CMake package for other programs
#
# docs/install.md tells users.
include(GNUInstallDirs)

set(homepage_id example.dellumbra) # the domain of app/homepage.h from its end
set(desktop "${PROJECT_SOURCE_DIR}/desktop")

# The icon in all sizes under an entry's name: each component stands without the other.
function(_crayvell_install_icons name component)
    set(icons "${CMAKE_INSTALL_DATADIR}/icons/hicolor")
    install(FILES "${desktop}/icons/crayvell.svg" COMPONENT ${component}
        DESTINATION "${icons}/scalable/apps" RENAME ${name}.svg)
    foreach(size IN ITEMS 16 22 24 32 48 64 128 256)
        install(FILES "${desktop}/icons/crayvell-${size}.png" COMPONENT ${component}
            DESTINATION "${icons}/${size}x${size}/apps" RENAME ${name}.png)
    endforeach()
endfunction()

# Debian's zsh looks into another folder, except below /usr/local. The prefix is known
# when the files are installed.
function(_crayvell_install_zsh_completion file component)
    cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_DATADIR BASE_DIRECTORY "/prefix" OUTPUT_VARIABLE data)
    string(REGEX REPLACE "^/prefix/" "\${CMAKE_INSTALL_PREFIX}/" data "${data}")
    install(CODE "
        set(folder site-functions)
        if(EXISTS /etc/debian_version AND NOT CMAKE_INSTALL_PREFIX STREQUAL \"/usr/local\")
            set(folder vendor-completions)
        endif()
        file(INSTALL DESTINATION \"${data}/zsh/\${folder}\" TYPE FILE FILES \"${file}\")"
        COMPONENT ${component})
endfunction()

install(TARGETS crayvell COMPONENT app)
install(FILES "${desktop}/crayvell.1" COMPONENT app
    DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
install(FILES "${desktop}/${homepage_id}.crayvell.metainfo.xml" COMPONENT app
    DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo")
install(FILES "${desktop}/${homepage_id}.crayvell.desktop" COMPONENT app
    DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
_crayvell_install_icons(${homepage_id}.crayvell app)

if(CRAYVELL_BATCH)
    set(texts "${PROJECT_BINARY_DIR}/batch")
    install(TARGETS crayvell-batch COMPONENT batch)
    install(FILES "${texts}/crayvell-batch.1" COMPONENT batch
        DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
    install(FILES "${texts}/crayvell-batch.bash" COMPONENT batch
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
        RENAME crayvell-batch)
    install(FILES "${texts}/crayvell-batch.fish" COMPONENT batch
        DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d")
    _crayvell_install_zsh_completion("${texts}/_crayvell-batch" batch)
    install(FILES "${desktop}/zz-${homepage_id}.crayvell.batch.desktop" COMPONENT batch
        DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
    _crayvell_install_icons(${homepage_id}.crayvell.batch batch)
endif()

# The pages as they link to each other, with the pictures and the licence that they show;
# links to sources lead nowhere there.
set(docs "${CMAKE_INSTALL_DATADIR}/doc/crayvell")
install(FILES README.md CHANGELOG.md CONTRIBUTING.md COMPONENT doc DESTINATION "${docs}")
install(FILES LICENSES/GPL-3.0-or-later.txt COMPONENT doc DESTINATION "${docs}/LICENSES")
install(FILES examples/beach/beach.jpg COMPONENT doc DESTINATION "${docs}/examples/beach")
install(DIRECTORY docs/ COMPONENT doc DESTINATION "${docs}/docs"
    FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN "*.png" PATTERN "*.jpg")

# What other programs build with.
set(components "kernels sketch canvas")
set(qt_version 6.4)
set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/Crayvell")
set(include_folder "${CMAKE_INSTALL_INCLUDEDIR}/crayvell")

# _crayvell_install_library(component FOLDER HEADERS files...): they are included below
# the folder's name, as in the tree.
function(_crayvell_install_library component folder)
    cmake_parse_arguments(PARSE_ARGV 2 ARG "" "" "HEADERS")
    list(TRANSFORM ARG_HEADERS PREPEND "${folder}/")
    install(FILES ${ARG_HEADERS} COMPONENT dev DESTINATION "${include_folder}/${folder}")
    install(TARGETS crayvell_${component} EXPORT Crayvell-${component}
        ARCHIVE COMPONENT dev
        INCLUDES DESTINATION "${include_folder}")
    install(EXPORT Crayvell-${component} COMPONENT dev
        NAMESPACE Crayvell:: DESTINATION "${package_folder}")
endfunction()

# Where the kernels were built with their assertions, whoever links them needs these too.
set(kernels_need_hwy TRUE)
if(CMAKE_BUILD_TYPE MATCHES "^([Rr]elease|[Rr]el[Ww]ith[Dd]eb[Ii]nfo|[Mm]in[Ss]ize[Rr]el)$"
        AND NOT CRAYVELL_SANITIZE)
    set(kernels_need_hwy FALSE)
else()
    target_link_libraries(crayvell_kernels INTERFACE $<INSTALL_INTERFACE:hwy::hwy>)
endif()

_crayvell_install_library(kernels sketch/kernel HEADERS
    edgekernel.h gaussianblurkernel.h gaussianblurplan.h imageview.h
    levelscurve.h levelskernel.h)
_crayvell_install_library(sketch sketch HEADERS
    edgebuffer.h gaussianblur.h greytable.h levels.h)
_crayvell_install_library(canvas canvas HEADERS tarngraphicsview.h)

include(CMakePackageConfigHelpers)
configure_package_config_file(cmake/CrayvellConfig.cmake.in
    "${PROJECT_BINARY_DIR}/CrayvellConfig.cmake"
    INSTALL_DESTINATION "${package_folder}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/CrayvellConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/CrayvellConfig.cmake"
        "${PROJECT_BINARY_DIR}/CrayvellConfigVersion.cmake"
    COMPONENT dev DESTINATION "${package_folder}")
