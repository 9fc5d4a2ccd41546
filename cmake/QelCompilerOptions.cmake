# Warnings and sanitizers shared by every target of the project.
add_compile_options(-Wall -Wextra)

if(WIN32)
  # Unicode Win32 entry points; Windows 7 API level (WinHTTP, BCrypt, ...).
  add_compile_definitions(UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)
  # One self-contained DLL/EXE each: the C++ runtime and winpthread are linked in, so
  # nothing from the compiler's folders must be found at run time.
  add_link_options(-static -static-libgcc -static-libstdc++)
endif()

if(NOT WIN32)
  # A shared library exports only what carries an export macro (QEL_API, QEL_ENGINE_API, the
  # window-API layer's), so hosts can never bind to the component's internals.
  set(CMAKE_C_VISIBILITY_PRESET hidden)
  set(CMAKE_CXX_VISIBILITY_PRESET hidden)
  set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
endif()

if(QEL_SANITIZE STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
elseif(QEL_SANITIZE STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
elseif(NOT QEL_SANITIZE STREQUAL "")
  message(FATAL_ERROR "QEL_SANITIZE must be empty, 'address' or 'thread'")
endif()
