# Fails unless LIBRARY exports the C interface and nothing else, and imports nothing that ends the host
# or changes its settings. What its C++ run time imports of its own is not seen here; nor counts
# std::terminate, which clang++ puts behind every noexcept where g++ leaves it to the run time.
cmake_minimum_required(VERSION 3.22)
execute_process(COMMAND ${NM} -D --defined-only --format=posix ${LIBRARY} OUTPUT_VARIABLE listing
  COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" lines "${listing}")
set(exported "")
foreach(line IN LISTS lines)
  string(REGEX MATCH "^[^ @]+" symbol "${line}")
  if(NOT symbol MATCHES "^(kx3_[a-zA-Z0-9_]+|KX3MPU6_1)$")
    message(SEND_ERROR "exported by mistake: ${symbol}")
  endif()
  list(APPEND exported ${symbol})
endforeach()
if(NOT "kx3_mpu_runMpu6Prg" IN_LIST exported)
  message(SEND_ERROR "kx3_mpu_runMpu6Prg is not exported")
endif()

execute_process(COMMAND ${NM} -D --undefined-only --format=posix ${LIBRARY} OUTPUT_VARIABLE listing
  COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" lines "${listing}")
foreach(line IN LISTS lines)
  string(REGEX MATCH "^[^ @]+" symbol "${line}")
  if(symbol MATCHES "^(_?exit|_Exit|quick_exit|abort|raise|kill|pthread_kill|__assert_fail|signal|sigaction|sigprocmask|pthread_sigmask|setlocale|uselocale|chdir|fchdir|umask|setenv|putenv|unsetenv|fesetround|fesetenv|feenableexcept|_ZSt13set_terminate.*)$")
    message(SEND_ERROR "imported, but the host is none of our business: ${symbol}")
  endif()
endforeach()
