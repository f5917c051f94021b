# lx_add_library(NAME [PUBLIC ...] [PRIVATE ...] [EXPORT SET]): the static library of one top-level folder, and how it is
# installed.
#
# Each library sees its own headers and those of the libraries it links, through one include directory per library that
# holds nothing but a link to its folder. An include against the direction of the layers therefore does not compile.
# Headers that end in Internal.h are private and are not installed.
function(lx_add_library name)
  cmake_parse_arguments(arg "" "EXPORT" "PUBLIC;PRIVATE" ${ARGN})
  if(NOT arg_EXPORT)
    set(arg_EXPORT LXServicesTargets)
  endif()
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  add_library(${name} STATIC ${sources})
  add_library(LXServices::${name} ALIAS ${name})

  set(include_root ${PROJECT_BINARY_DIR}/include/${name})
  file(MAKE_DIRECTORY ${include_root})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${include_root}/${name} SYMBOLIC)
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  list(FILTER headers EXCLUDE REGEX "Internal\\.h$")
  list(TRANSFORM headers PREPEND ${include_root}/${name}/)
  target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${include_root} FILES ${headers})

  target_compile_features(${name} PUBLIC cxx_std_23)
  target_link_libraries(${name} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE})
  lx_set_options(${name})
  if(LX_INSTALL)
    install(TARGETS ${name} EXPORT ${arg_EXPORT} ARCHIVE FILE_SET HEADERS)
  endif()
endfunction()

# Warnings and sanitizers, the same for every target of the project.
function(lx_set_options name)
  set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF POSITION_INDEPENDENT_CODE ON)
  target_compile_options(${name} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12 warns falsely of overlapping copies where std::string is added to at -O3, and of values that may be
    # uninitialised in std::expected with the sanitizers.
    target_compile_options(${name} PRIVATE -Wno-restrict -Wno-maybe-uninitialized)
  endif()
  if(LX_WARNINGS_AS_ERRORS)
    target_compile_options(${name} PRIVATE -Werror)
  endif()
  if(LX_SANITIZE)
    # The check of virtual tables opens a pipe, so that it takes every object of a process without descriptors for none.
    target_compile_options(${name} PRIVATE -fsanitize=${LX_SANITIZE} -fno-sanitize=vptr -fno-omit-frame-pointer
                                           -fno-sanitize-recover=all)
    target_link_options(${name} PRIVATE -fsanitize=${LX_SANITIZE})
  endif()
endfunction()
