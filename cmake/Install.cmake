# What `make install` / `cmake --install` puts where (relative to the prefix):
#   bin/lldpv2-agent, bin/lldpv2ctl
#   lib/<arch>/lldpv2mib/liblldpv2host.so, liblldpv2mib.so   (private libraries)
#   share/lldpv2mib/mibs/*.txt                                 (the MIB modules)
#   share/lldpv2mib/scenarios/*.yaml                           (example scenarios)
#   share/man/man8/lldpv2-agent.8, share/man/man1/lldpv2ctl.1
#   <unit dir>/lldpv2-agent.service, <sysconfdir>/default/lldpv2-agent
# The programs find the libraries through a RUNPATH relative to their own
# location, so the tree may be moved (DESTDIR, PREFIX).
include(GNUInstallDirs)

set(LLDPV2_PRIVATE_LIBDIR "${CMAKE_INSTALL_LIBDIR}/lldpv2mib")
set(LLDPV2_DATADIR "${CMAKE_INSTALL_DATADIR}/lldpv2mib")
set(LLDPV2_SYSTEMD_UNIT_DIR "${CMAKE_INSTALL_PREFIX}/lib/systemd/system" CACHE PATH
    "Where the systemd unit is installed")
set(LLDPV2_DEFAULTS_FILE "${CMAKE_INSTALL_FULL_SYSCONFDIR}/default/lldpv2-agent")

# bin/ -> lib/.../lldpv2mib, as the programs' RUNPATH.
file(RELATIVE_PATH LLDPV2_BIN_TO_PRIVATE_LIBDIR
     "${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}" "${CMAKE_INSTALL_PREFIX}/${LLDPV2_PRIVATE_LIBDIR}")
set(LLDPV2_INSTALL_RPATH "$ORIGIN/${LLDPV2_BIN_TO_PRIVATE_LIBDIR}")
file(RELATIVE_PATH LLDPV2_BIN_TO_DATADIR
     "${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}" "${CMAKE_INSTALL_PREFIX}/${LLDPV2_DATADIR}")
