# Settings of a device family. They all go into one generated header.
set(TARNO_APP_DIRECTORY "/mnt/actflash/currsw/app" CACHE STRING
    "Directory of snmpd, the master agent, on the device")
set(TARNO_MIB_DIRECTORY "/mnt/actflash/currsw/mibs" CACHE STRING
    "Directory of the MIB files on the device")
set(TARNO_ENTERPRISE_NUMBER 32473 CACHE STRING
    "IANA private enterprise number in the default base OID (32473: reserved for documentation)")
set(TARNO_DEVICE_MODEL "QRVTX-71K" CACHE STRING
    "Device model, the module name under which the scalars are registered")
set(TARNO_ANSWER_WAIT_MS 3000 CACHE STRING
    "Longest wait for a device that is alive, in milliseconds; 0: no limit")
set(TARNO_SILENT_ANSWER_WAIT_MS 40 CACHE STRING
    "Longest wait for a device that did not answer the last request, in milliseconds; 0: no limit")
option(TARNO_DROP_OVERSIZED_ANSWERS
    "Remove an answer of more than 1024 bytes from the queue after the read that failed" OFF)

set(TARNO_GENERATED_DIRECTORY ${CMAKE_BINARY_DIR}/generated)
set(TARNO_DROP_OVERSIZED_ANSWERS_LITERAL false)
if(TARNO_DROP_OVERSIZED_ANSWERS)
    set(TARNO_DROP_OVERSIZED_ANSWERS_LITERAL true)
endif()
configure_file(${CMAKE_SOURCE_DIR}/src/Configuration.h.in
    ${TARNO_GENERATED_DIRECTORY}/Configuration.h @ONLY)
