# Options of every target.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# The library is build/<preset>/libTavroline.so; programs and plug-ins are in the same folder.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})

add_compile_options(
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast> $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)

# For a controller: small, and hardened where it costs nothing. docs/target.md holds the measurements.
add_compile_options(-fstack-protector-strong -ffunction-sections -fdata-sections)
# Debug symbols become packages; these do not name the build machine's folders.
set(CMAKE_C_FLAGS_RELEASE "-O2 -DNDEBUG -g -fdebug-prefix-map=${PROJECT_SOURCE_DIR}=.")
set(CMAKE_CXX_FLAGS_RELEASE "${CMAKE_C_FLAGS_RELEASE}")
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
  add_compile_options(-Wno-psabi)  # remarks on an ABI change of 2017 that no interface here touches
endif()

if(TAVROLINE_SANITIZE)
  add_compile_options(-fsanitize=${TAVROLINE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${TAVROLINE_SANITIZE})
endif()
