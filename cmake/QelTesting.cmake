# qel_add_test(NAME <name> SOURCES <files...> [LIBS <targets...>] [LABELS <labels...>] [DISPLAY])
#
# Natively every GoogleTest case becomes its own CTest test. Under Wine one start per case
# would be far too slow, so there each executable is one CTest test, run through
# cmake/wine-run.sh with the build tree's own Wine prefix. DISPLAY marks executables that
# show windows: on Windows they run under Xvfb, on one Wine desktop whose cursor, focus,
# z-order and screen pixels every window shares, so they hold the lock "wine_desktop" and
# never run at the same time as one another.
if(NOT WIN32)
  find_package(GTest REQUIRED)
  include(GoogleTest)
else()
  # The packaged GoogleTest sources, compiled with mingw.
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
  set(gtest_disable_pthreads OFF CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
  # GoogleTest 1.11 and later define these names themselves.
  if(NOT TARGET GTest::gtest)
    add_library(GTest::gtest ALIAS gtest)
    add_library(GTest::gtest_main ALIAS gtest_main)
    add_library(GTest::gmock ALIAS gmock)
  endif()

  set(QEL_WINE_PREFIX ${CMAKE_BINARY_DIR}/wineprefix)
  set(QEL_WINE_RUN ${CMAKE_SOURCE_DIR}/cmake/wine-run.sh)
  # Creates the prefix and starts one persistent wineserver before the first test.
  add_test(NAME wine_prefix_setup COMMAND ${QEL_WINE_RUN} --setup ${QEL_WINE_PREFIX})
  set_tests_properties(wine_prefix_setup PROPERTIES FIXTURES_SETUP wine TIMEOUT 480)
  add_test(NAME wine_prefix_cleanup COMMAND ${QEL_WINE_RUN} --shutdown ${QEL_WINE_PREFIX})
  set_tests_properties(wine_prefix_cleanup PROPERTIES FIXTURES_CLEANUP wine)
endif()

function(qel_add_test)
  cmake_parse_arguments(T "DISPLAY" "NAME" "SOURCES;LIBS;LABELS" ${ARGN})
  add_executable(${T_NAME} ${T_SOURCES})
  target_link_libraries(${T_NAME} PRIVATE ${T_LIBS} GTest::gmock GTest::gtest GTest::gtest_main Threads::Threads)
  set_target_properties(${T_NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  if(WIN32)
    set(_display "")
    if(T_DISPLAY)
      set(_display --display)
    endif()
    add_test(NAME ${T_NAME}
             COMMAND ${QEL_WINE_RUN} --run ${QEL_WINE_PREFIX} ${_display} $<TARGET_FILE:${T_NAME}>)
    # The libraries of bin/ are found as a Windows host would find them on its PATH.
    string(REPLACE "/" "\\" _bin "Z:${CMAKE_BINARY_DIR}/bin")
    # Bounded: a test that hangs under Wine must fail, not hold the whole run.
    set_tests_properties(${T_NAME} PROPERTIES FIXTURES_REQUIRED wine LABELS "${T_LABELS}"
                         ENVIRONMENT "WINEPATH=${_bin}" TIMEOUT 600)
    if(T_DISPLAY)
      set_tests_properties(${T_NAME} PROPERTIES RESOURCE_LOCK wine_desktop)
    endif()
  else()
    gtest_discover_tests(${T_NAME} DISCOVERY_TIMEOUT 60 PROPERTIES LABELS "${T_LABELS}")
  endif()
endfunction()

