# What a host takes from an install: the libraries in bin/ (Windows) or lib/ (Linux), the
# public headers in include/qelmediaplayer/, a CMake package in lib/cmake/QelMediaPlayer/
# and, on Linux, lib/pkgconfig/qelmediaplayer.pc. Hosts include by folder, as the tree does:
# #include "video/QelVideoPlayerManager.h" with include/qelmediaplayer on the include path.
include(CMakePackageConfigHelpers)

set(_qel_include include/qelmediaplayer)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/qelmediaplayer/ DESTINATION ${_qel_include})
install(FILES ${CMAKE_BINARY_DIR}/include/qelmediaplayer/QelVersion.h DESTINATION ${_qel_include})
install(FILES ${CMAKE_SOURCE_DIR}/src/video/QelVideoPlayerManager.h DESTINATION ${_qel_include}/video)
install(FILES ${CMAKE_SOURCE_DIR}/platform/winapi/QelWinApi.h DESTINATION ${_qel_include}/winapi)
if(WIN32)
  install(FILES ${CMAKE_SOURCE_DIR}/src/ui/QelMediaBaseWindow.h ${CMAKE_SOURCE_DIR}/src/ui/QelSliderUI.h
                ${CMAKE_SOURCE_DIR}/src/ui/QelVideoPlayerWindow.h ${CMAKE_SOURCE_DIR}/src/ui/QelVideoUI.h
          DESTINATION ${_qel_include}/ui)
  install(FILES ${CMAKE_SOURCE_DIR}/src/ui/audio/QelAudioPlayerWindow.h ${CMAKE_SOURCE_DIR}/src/ui/audio/QelAudioUI.h
          DESTINATION ${_qel_include}/ui/audio)
  install(FILES ${CMAKE_SOURCE_DIR}/src/audio/QelAudioPlayerManager.h
                ${CMAKE_SOURCE_DIR}/src/audio/QelAudioPlayerManagerVlc.h
          DESTINATION ${_qel_include}/audio)
  # UiLib.h and what it includes: the toolkit's public surface.
  set(_qel_uilib_headers UiLib UiLibExport UIBase CWindowWnd CControlUI CContainerUI CLabelUI CButtonUI CProgressUI
                         CSliderUI CPaintManagerUI CDialogBuilder CRenderEngine)
  list(TRANSFORM _qel_uilib_headers PREPEND ${CMAKE_SOURCE_DIR}/platform/uilib/)
  list(TRANSFORM _qel_uilib_headers APPEND .h)
  install(FILES ${_qel_uilib_headers} DESTINATION ${_qel_include}/uilib)
else()
  install(FILES ${CMAKE_SOURCE_DIR}/platform/winapi/QelMessageQueue.h DESTINATION ${_qel_include}/winapi)
endif()

# The package names the installed files relative to itself, so the install can move.
set(_qel_package_dir ${CMAKE_BINARY_DIR}/package)
set(QEL_LIBRARY_FILE "$<TARGET_FILE_NAME:QelMediaPlayer>")
if(WIN32)
  set(QEL_LIBRARY_IMPLIB "$<TARGET_LINKER_FILE_NAME:QelMediaPlayer>")
  set(QEL_UILIB_FILE "$<TARGET_FILE_NAME:UiLib>")
  set(QEL_UILIB_IMPLIB "$<TARGET_LINKER_FILE_NAME:UiLib>")
else()
  set(QEL_LIBRARY_SONAME "$<TARGET_SONAME_FILE_NAME:QelMediaPlayer>")
endif()
configure_file(${CMAKE_SOURCE_DIR}/cmake/QelMediaPlayerConfig.cmake.in ${_qel_package_dir}/QelMediaPlayerConfig.cmake.in
               @ONLY)
file(GENERATE OUTPUT ${_qel_package_dir}/QelMediaPlayerConfig.cmake
     INPUT ${_qel_package_dir}/QelMediaPlayerConfig.cmake.in)
write_basic_package_version_file(${_qel_package_dir}/QelMediaPlayerConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${_qel_package_dir}/QelMediaPlayerConfig.cmake ${_qel_package_dir}/QelMediaPlayerConfigVersion.cmake
        DESTINATION lib/cmake/QelMediaPlayer)
if(NOT WIN32)
  configure_file(${CMAKE_SOURCE_DIR}/cmake/qelmediaplayer.pc.in ${_qel_package_dir}/qelmediaplayer.pc @ONLY)
  install(FILES ${_qel_package_dir}/qelmediaplayer.pc DESTINATION lib/pkgconfig)
endif()
