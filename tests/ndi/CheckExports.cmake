# Fails unless LIBRARY exports what HEADER declares and nothing else. Needs NM.
execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL " [A-Z] [^\n]+" exported "${symbols}")
list(TRANSFORM exported REPLACE "^ [A-Z] ([^@\n]+).*$" "\\1")

file(READ ${HEADER} text)
string(REGEX MATCHALL "NDI_RUNTIME_API [^(;]+\\(" declared "${text}")
list(TRANSFORM declared REPLACE "^.*[ *](NDIlib_[A-Za-z0-9_]+)\\($" "\\1")

list(SORT exported)
list(SORT declared)
if(NOT exported STREQUAL declared OR NOT declared)
  message(FATAL_ERROR "exported: ${exported}\ndeclared: ${declared}")
endif()
