# What every target of ours is compiled with. Nothing here reaches a client. The presets turn warnings into
# errors; a build without a preset may use a compiler whose warnings we have never seen.
add_library(utilities_flags INTERFACE)
target_compile_features(utilities_flags INTERFACE cxx_std_20)
target_compile_options(utilities_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Woverloaded-virtual)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # g++ 12 reports overlapping copies inside std::string that can't be (its bug 105651).
    target_compile_options(utilities_flags INTERFACE -Wno-restrict)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    # Instrumented code hides from g++ what initialises the standard library's objects.
    target_compile_options(utilities_flags INTERFACE -Wno-maybe-uninitialized)
endif()

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_FLAGS MATCHES "-fsanitize=thread")
    # The thread sanitizer doesn't follow fences. Ours order atomic fields only, which are no races to it.
    target_compile_options(utilities_flags INTERFACE -Wno-tsan)
endif()

# What the library's own code is compiled with beside these: nothing visible but the marked names,
# calls inside the library bound at link time, and no symbol that would keep it from being unloaded.
add_library(utilities_library_flags INTERFACE)
target_link_libraries(utilities_library_flags INTERFACE utilities_flags)
target_compile_options(utilities_library_flags INTERFACE
    -fvisibility=hidden -fvisibility-inlines-hidden -fno-semantic-interposition
    $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)

set(CMAKE_POSITION_INDEPENDENT_CODE ON)
