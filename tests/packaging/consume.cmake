# Installs the built library into a scratch prefix, then builds and runs a small host program
# against it twice: through find_package(Kelmira) and through pkg-config.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix}
                RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "install failed: ${rc}")
endif()

set(flags "")
if(SANITIZE)
  set(flags "-fsanitize=address,undefined")
endif()

# 1. CMake package.
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/packaging/host -B ${WORK_DIR}/cmake-host -G Ninja
                        -DCMAKE_PREFIX_PATH=${prefix} "-DCMAKE_CXX_FLAGS=${flags}"
                RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "configuring the find_package host failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-host RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "building the find_package host failed")
endif()
execute_process(COMMAND ${WORK_DIR}/cmake-host/host RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "the find_package host failed: ${rc}")
endif()

# 2. pkg-config, with a plain compiler call as a Makefile would make it.
find_program(PKG_CONFIG pkg-config REQUIRED)
set(ENV{PKG_CONFIG_PATH} ${prefix}/lib/pkgconfig:${prefix}/lib/x86_64-linux-gnu/pkgconfig)
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs kelmira OUTPUT_VARIABLE pc RESULT_VARIABLE rc
                OUTPUT_STRIP_TRAILING_WHITESPACE)
if(rc)
  message(FATAL_ERROR "pkg-config does not know kelmira")
endif()
separate_arguments(pc_args UNIX_COMMAND "${pc}")
separate_arguments(flag_args UNIX_COMMAND "${flags}")
execute_process(COMMAND c++ -std=c++17 -Wall -Wextra -Werror ${flag_args} ${SOURCE_DIR}/tests/packaging/host/host.cc
                        -o ${WORK_DIR}/pc-host ${pc_args} -Wl,-rpath,${prefix}/lib
                RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "building the pkg-config host failed")
endif()
execute_process(COMMAND ${WORK_DIR}/pc-host RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "the pkg-config host failed: ${rc}")
endif()
