# Install rules of the libraries, data files and service files (after the
# targets exist). See Install.cmake for the layout.
install(TARGETS lldpv2host LIBRARY DESTINATION ${LLDPV2_PRIVATE_LIBDIR})
install(TARGETS lldpv2mib LIBRARY DESTINATION ${LLDPV2_PRIVATE_LIBDIR})

# The MIB modules the agent serves and those they import.
file(GLOB LLDPV2_MIB_FILES "${LLDPV2_MIBS_DIR}/*.txt")
if(LLDPV2_MIB_FILES)
  install(FILES ${LLDPV2_MIB_FILES} DESTINATION ${LLDPV2_DATADIR}/mibs)
else()
  message(WARNING "no MIB modules in ${LLDPV2_MIBS_DIR}: they will not be installed")
endif()

install(DIRECTORY ${CMAKE_SOURCE_DIR}/host/scenarios/ DESTINATION ${LLDPV2_DATADIR}/scenarios
        FILES_MATCHING PATTERN "*.yaml")

if(TARGET lldpv2ctl)
  install(TARGETS lldpv2ctl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(FILES ${CMAKE_SOURCE_DIR}/doc/lldpv2-agent.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
if(TARGET lldpv2ctl)
  install(FILES ${CMAKE_SOURCE_DIR}/doc/lldpv2ctl.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()

if(TARGET lldpv2-agent)
  set(LLDPV2_AGENT_BINARY "${CMAKE_INSTALL_FULL_BINDIR}/lldpv2-agent")
  configure_file(${CMAKE_SOURCE_DIR}/dist/lldpv2-agent.service.in ${CMAKE_BINARY_DIR}/dist/lldpv2-agent.service @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/dist/lldpv2-agent.service DESTINATION ${LLDPV2_SYSTEMD_UNIT_DIR})
  install(FILES ${CMAKE_SOURCE_DIR}/dist/lldpv2-agent.default DESTINATION ${CMAKE_INSTALL_SYSCONFDIR}/default
          RENAME lldpv2-agent)
endif()
