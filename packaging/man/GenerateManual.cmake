# SPDX-License-Identifier: MIT
# Writes a program's section-1 manual page with help2man: its --help and --version texts, each
# subcommand's own help as a COMMANDS section, and the hand-written sections of INCLUDE.
#   cmake -DPROGRAM=... -DNAME=... -DSUMMARY=... -DINCLUDE=x.h2m -DCOMMANDS="a;b" -DOUTPUT=x.1 -P GenerateManual.cmake
set(sections "")
if(COMMANDS)
    string(APPEND sections "[COMMANDS]\n")
    foreach(command IN LISTS COMMANDS)
        execute_process(COMMAND "${PROGRAM}" help "${command}" OUTPUT_VARIABLE help RESULT_VARIABLE status)
        if(NOT status EQUAL 0)
            message(FATAL_ERROR "${NAME} help ${command} failed (${status})")
        endif()
        # Shown as written: roff's escape character and control lines neutralised.
        string(REPLACE "\\" "\\e" help "${help}")
        string(REGEX REPLACE "(^|\n)([.'])" "\\1\\\\&\\2" help "${help}")
        string(APPEND sections ".SS ${command}\n.nf\n${help}.fi\n")
    endforeach()
endif()
file(READ "${INCLUDE}" written)
get_filename_component(output_dir "${OUTPUT}" DIRECTORY)
set(combined "${output_dir}/${NAME}.h2m")
file(WRITE "${combined}" "${written}\n${sections}")

execute_process(
    COMMAND help2man --no-info --section=1 "--name=${SUMMARY}" "--include=${combined}" "--output=${OUTPUT}" "${PROGRAM}"
    RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "help2man ${NAME} failed (${status})")
endif()
