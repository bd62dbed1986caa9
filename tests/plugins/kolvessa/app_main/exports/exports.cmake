# Fails unless a shared library exports exactly the names in EXPECTED (a list).
#   cmake -DLIBRARY=file -DEXPECTED=name[;name...] -DNM=nm -DOBJDUMP=objdump -P exports.cmake
# Names are read from the dynamic symbol table of an ELF file (nm) or from the export table of a
# PE file (objdump).
if(LIBRARY MATCHES "\\.dll$")
  execute_process(COMMAND "${OBJDUMP}" -p "${LIBRARY}"
    OUTPUT_VARIABLE output RESULT_VARIABLE result)
  string(REGEX REPLACE "^.*\\[Ordinal/Name Pointer\\] Table[^\n]*\n" "" table "${output}")
  if(table STREQUAL output)
    message(FATAL_ERROR "${LIBRARY}: no export table found")
  endif()
  # Each line of the table is "[ordinal] name"; it ends with an empty line. Brackets go first: they
  # would keep list elements together.
  string(REGEX REPLACE "\n[ \t\r]*\n.*$" "\n" table "${table}")
  string(REGEX REPLACE "\\[[^]\n]*\\]" "" table "${table}")
  string(REGEX MATCHALL "[^ \t\r\n]+" names "${table}")
else()
  execute_process(COMMAND "${NM}" -D --defined-only "${LIBRARY}"
    OUTPUT_VARIABLE output RESULT_VARIABLE result)
  string(REGEX MATCHALL "[^ \n]+\n" lines "${output}")
  string(REPLACE "\n" "" names "${lines}")
endif()
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${LIBRARY}: its symbols can't be read")
endif()
list(SORT names)
list(SORT EXPECTED)
if(NOT names STREQUAL EXPECTED)
  message(FATAL_ERROR "${LIBRARY} exports \"${names}\" and not \"${EXPECTED}\"")
endif()
message(STATUS "${LIBRARY} exports ${names}")
