# Fails when a bootloader's code passes its boot section (LIMIT bytes).
execute_process(COMMAND ${SIZE} -A ${ELF} OUTPUT_VARIABLE out)
string(REGEX MATCH "\\.text[ \t]+([0-9]+)" _ "${out}")
set(text ${CMAKE_MATCH_1})
if(text GREATER LIMIT)
  message(FATAL_ERROR "${ELF}: ${text} bytes of code, the boot section holds ${LIMIT}")
endif()
message(STATUS "${ELF}: ${text} of ${LIMIT} bytes")
