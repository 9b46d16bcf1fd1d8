# Fails unless every dynamic symbol that LIBRARY defines belongs to the interface:
# namespace gvk, or the virtual tables, type data and thunks of its classes.
execute_process(COMMAND ${NM} -D --defined-only -C ${LIBRARY}
                OUTPUT_VARIABLE listing RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIBRARY}")
endif()

string(REPLACE "\n" ";" lines "${listing}")
set(interface_count 0)
set(strays)
foreach(line IN LISTS lines)
  if(line STREQUAL "")
    continue()
  endif()
  string(REGEX REPLACE "^[0-9a-fA-F]* *[A-Za-z] " "" symbol "${line}")
  # The name before the parameter list. Demangled function templates start with their
  # return type, so standard-library code that returns a gvk type also starts with
  # "gvk::"; such a name holds "std::" before its parameters.
  string(REGEX REPLACE "\\(.*" "" name "${symbol}")
  if(name MATCHES "std::")
    list(APPEND strays "${symbol}")
  elseif(symbol MATCHES "^(gvk::|typeinfo for gvk::|typeinfo name for gvk::|vtable for gvk::|VTT for gvk::|non-virtual thunk to gvk::)")
    math(EXPR interface_count "${interface_count} + 1")
  else()
    list(APPEND strays "${symbol}")
  endif()
endforeach()

if(strays)
  list(JOIN strays "\n  " text)
  message(FATAL_ERROR "symbols outside the interface:\n  ${text}")
endif()
foreach(expected "gvk::DataSource::m_emptyGUID" "gvk::hashGradingElementUid"
                 "vtable for gvk::DataSource")
  string(FIND "${listing}" "${expected}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "interface symbol missing: ${expected}")
  endif()
endforeach()
message(STATUS "${interface_count} exported symbols, all in the interface")
