# Fails unless LIBRARY exports the C interface and nothing else, and imports nothing that ends the host
# or changes its settings. What its C++ run time imports of its own is not seen here; nor counts
# std::terminate, which clang++ puts behind every noexcept where g++ leaves it to the run time.
cmake_minimum_required(VERSION 3.22)
function(list_symbols which into)
  execute_process(COMMAND ${NM} -D ${which} --format=posix ${LIBRARY} OUTPUT_VARIABLE listing
    COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX REPLACE "[ @][^\n]*\n" ";" symbols "${listing}")
  set(${into} ${symbols} PARENT_SCOPE)
endfunction()
list_symbols(--defined-only exported)
if(NOT "kx3_mpu_runMpu6Prg" IN_LIST exported)
  message(SEND_ERROR "kx3_mpu_runMpu6Prg is not exported")
endif()
list(FILTER exported EXCLUDE REGEX "^(kx3_[a-zA-Z0-9_]+|KX3MPU6_1)$")
list_symbols(--undefined-only imported)
list(FILTER imported INCLUDE REGEX "^(_?exit|_Exit|quick_exit|abort|raise|kill|pthread_kill|__assert_fail|signal|sigaction|sigprocmask|pthread_sigmask|setlocale|uselocale|chdir|fchdir|umask|setenv|putenv|unsetenv|fesetround|fesetenv|feenableexcept|_ZSt13set_terminate.*)$")
if(exported OR imported)
  message(SEND_ERROR "exported by mistake: ${exported}; imported, but the host is none of our business: ${imported}")
endif()
