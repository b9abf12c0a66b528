#!/usr/bin/env bash
# Checks that every OID lldpv2ctl has compiled in is the OID of the object
# it is named after in the MIB modules (snmptranslate -On).
#   check_oids.sh PRINT_OIDS_BINARY MIBS_DIR
set -euo pipefail
printer="$1"
mibs="$2"
export MIBS= SNMPCONFPATH=/nonexistent
failures=0
count=0
while read -r name oid; do
  count=$((count + 1))
  expected="$(snmptranslate -M "$mibs" -m ALL -On "$name" 2>/dev/null || true)"
  if [[ "$expected" != "$oid" ]]; then
    echo "MISMATCH $name: compiled in $oid, MIB says ${expected:-nothing}"
    failures=$((failures + 1))
  fi
done < <("$printer")
echo "$count OIDs checked, $failures wrong"
((count > 0 && failures == 0))
