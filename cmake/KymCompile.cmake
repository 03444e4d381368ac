# What holds for every target of the project: the language, the warnings, the sanitizers.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_library(kym_compile INTERFACE)
target_include_directories(kym_compile INTERFACE "${PROJECT_SOURCE_DIR}")
# Boost.Regex classifies characters by the C++ locale on every system, so that the same pattern means the same.
target_compile_definitions(kym_compile INTERFACE BOOST_REGEX_USE_CPP_LOCALE)
if(MSVC)
  target_compile_options(kym_compile INTERFACE /W4 /WX /permissive- /utf-8 /wd4251 /wd4275)
  target_compile_definitions(kym_compile INTERFACE NOMINMAX WIN32_LEAN_AND_MEAN _CRT_SECURE_NO_WARNINGS)
else()
  target_compile_options(kym_compile INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
endif()
if(WIN32)
  target_compile_definitions(kym_compile INTERFACE UNICODE _UNICODE _WIN32_WINNT=0x0A00)
endif()
if(KYM_SANITIZE)
  target_compile_options(kym_compile INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
                                               -fno-omit-frame-pointer)
  target_link_options(kym_compile INTERFACE -fsanitize=address,undefined)
endif()
