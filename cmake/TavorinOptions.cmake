# Compiler flags shared by every Tavorin target, applied through the
# interface library tavorin_options.
add_library(tavorin_options INTERFACE)
target_compile_options(tavorin_options INTERFACE -Wall -Wextra)
if(TAVORIN_WERROR)
  target_compile_options(tavorin_options INTERFACE -Werror)
endif()
if(TAVORIN_SANITIZE)
  target_compile_options(tavorin_options INTERFACE
    -fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  target_link_options(tavorin_options INTERFACE -fsanitize=address,undefined)
endif()
target_include_directories(tavorin_options INTERFACE ${PROJECT_SOURCE_DIR}/src)

# tavorin_add_library(NAME DIR DEPS...): one static library per subsystem folder,
# made of every .cpp directly in DIR but an executable's main.cpp.
function(tavorin_add_library name dir)
  file(GLOB sources CONFIGURE_DEPENDS ${dir}/*.cpp)
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  if(NOT sources)
    # A folder that holds only headers so far.
    add_library(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE tavorin_options ${ARGN})
    return()
  endif()
  add_library(${name} STATIC ${sources})
  target_link_libraries(${name} PUBLIC tavorin_options ${ARGN})
endfunction()

# tavorin_add_test(NAME DIR DEPS...): one GoogleTest binary per test folder.
function(tavorin_add_test name dir)
  file(GLOB sources CONFIGURE_DEPENDS ${dir}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(${name} ${sources})
  target_link_libraries(${name} PRIVATE tavorin_options GTest::gtest GTest::gmock GTest::gtest_main ${ARGN})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES ENVIRONMENT "TAVORIN_BINARY_DIR=${PROJECT_BINARY_DIR}")
endfunction()
