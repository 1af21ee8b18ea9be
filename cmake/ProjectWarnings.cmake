# Project code builds with every warning an error; third-party headers come in as SYSTEM.
function(zeph_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
endfunction()
