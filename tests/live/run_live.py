#!/usr/bin/env python3
"""Runs live test modules: run_live.py test_two_agents [test_receive ...].
Exit status 0 when every test passed, 77 when every test was skipped (the
reason is printed), 1 on any failure."""

import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import livenet  # noqa: E402  (installs the cleanup handlers first)


def main(argv):
    names = argv[1:] or ["test_two_agents", "test_receive", "test_pcap_out", "test_snmp_writes", "test_pcap_in",
                         "test_no_net_raw", "test_reload", "test_links"]
    suite = unittest.defaultTestLoader.loadTestsFromNames(names)
    result = unittest.TextTestRunner(verbosity=2, stream=sys.stdout).run(suite)
    livenet.run_cleanups()
    # A failed subtest fails its test once.
    failed_ids = {getattr(t, "test_case", t).id() for t, _ in result.failures + result.errors}
    failed_ids |= {t.id() for t in result.unexpectedSuccesses}
    skipped = len({t.id() for t, _ in result.skipped} - failed_ids)
    failed = len(failed_ids)
    passed = result.testsRun - skipped - failed
    print(f"{passed} passed, {failed} failed, {skipped} skipped", flush=True)
    if failed:
        return 1
    if result.testsRun == 0 or passed == 0:
        for test, reason in result.skipped[:1]:
            print(f"SKIPPED: {reason}", flush=True)
        return 77
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
