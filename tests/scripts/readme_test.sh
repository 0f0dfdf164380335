# "Trying it by hand" of README.md works line by line, as it is written.
. "$(dirname "$0")/expect.sh"

# The second block of code of the section; the first is scripts/shell itself.
lines=$(awk '/^## / { here = /Trying it by hand/ }
    here && /^```/ { block++; next }
    here && block == 3' README.md)
[[ $lines == *"certificatectl create"* ]] || fail "README.md has no such lines"

expect 0 "Created /redfish/v1/" scripts/shell --build "$build" -c "set -ex
$lines
openssl req -in bmc.csr -noout -verify"
expect 3 "" scripts/shell --build "$build" sh -c 'exit 3'
