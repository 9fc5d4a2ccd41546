# Every third-party library comes from Debian's packages (scripts/setup.sh installs them).
find_package(Threads REQUIRED)

if(WIN32)
  # zlib from libz-mingw-w64-dev, linked in so that no zlib1.dll must be shipped.
  set(ZLIB_USE_STATIC_LIBS ON)
  find_package(ZLIB REQUIRED)

  # spdlog and fmt are used header-only: Debian ships their headers for the host
  # compiler only, so the two folders are exposed on their own (never /usr/include
  # as a whole, which would shadow the mingw headers).
  set(_qel_hdr_stage ${CMAKE_BINARY_DIR}/third_party/include)
  file(MAKE_DIRECTORY ${_qel_hdr_stage})
  foreach(_dir spdlog fmt)
    if(NOT EXISTS /usr/include/${_dir})
      message(FATAL_ERROR "/usr/include/${_dir} missing: run scripts/setup.sh")
    endif()
    file(CREATE_LINK /usr/include/${_dir} ${_qel_hdr_stage}/${_dir} SYMBOLIC)
  endforeach()
  add_library(qel_spdlog INTERFACE)
  target_include_directories(qel_spdlog SYSTEM INTERFACE ${_qel_hdr_stage})
  target_compile_definitions(qel_spdlog INTERFACE SPDLOG_HEADER_ONLY FMT_HEADER_ONLY SPDLOG_FMT_EXTERNAL SPDLOG_WCHAR_FILENAMES)
  add_library(Qel::spdlog ALIAS qel_spdlog)
else()
  find_package(ZLIB REQUIRED)
  find_package(OpenSSL REQUIRED)
  find_package(CURL REQUIRED)
  find_package(fmt REQUIRED)
  find_package(spdlog REQUIRED)
  add_library(Qel::spdlog ALIAS spdlog::spdlog)
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(LIBVLC IMPORTED_TARGET libvlc)
endif()
