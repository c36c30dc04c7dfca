# SPDX-License-Identifier: MIT
# Draws the application icon from the brand mark: `quelmctl mark --svg` in the mark's orange,
# since an icon has no text colour for "currentColor" to follow.
#   cmake -DQUELMCTL=... -DOUTPUT=... -P DrawIcon.cmake
execute_process(COMMAND "${QUELMCTL}" mark --svg --size 256
    OUTPUT_VARIABLE svg RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "quelmctl mark --svg failed (${status})")
endif()
string(REPLACE "color=\"#000000\"" "color=\"#FF9E0A\"" svg "${svg}")
file(WRITE "${OUTPUT}" "${svg}")
