# qel_sample_content(TARGET <name> DIR <folder> [SECONDS <n>] NATIVE_VAR <var>)
# Makes the ffmpeg sample media in DIR once per build tree (scripts/make-sample-content.sh;
# SECONDS: length of the HLS video) and sets NATIVE_VAR to the folder as the test programs
# see it: Wine sees the host's root as drive Z:.
function(qel_sample_content)
  cmake_parse_arguments(C "" "TARGET;DIR;SECONDS;NATIVE_VAR" "" ${ARGN})
  add_custom_command(OUTPUT ${C_DIR}/.complete
                     COMMAND ${CMAKE_SOURCE_DIR}/scripts/make-sample-content.sh ${C_DIR} ${C_SECONDS}
                     DEPENDS ${CMAKE_SOURCE_DIR}/scripts/make-sample-content.sh
                     COMMENT "Making sample media with ffmpeg in ${C_DIR}")
  add_custom_target(${C_TARGET} ALL DEPENDS ${C_DIR}/.complete)
  if(WIN32)
    string(REPLACE "/" "\\\\" _native "Z:${C_DIR}")
  else()
    set(_native ${C_DIR})
  endif()
  set(${C_NATIVE_VAR} ${_native} PARENT_SCOPE)
endfunction()
