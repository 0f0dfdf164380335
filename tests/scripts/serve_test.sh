# scripts/serve, and "Redfish over HTTPS" of README.md line by line, as it is written.
. "$(dirname "$0")/expect.sh"

lines=$(awk '/^## / { here = /Redfish over HTTPS/ }
    here && /^```/ { block++; next }
    here && block == 1' README.md)
[[ $lines == *"GenerateCSR"* ]] || fail "README.md has no such lines"

serve=
cleanup() {
    [ -z "$serve" ] || kill -TERM "$serve" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

scripts/serve --build "$build" 0 >"$work/serve.out" 2>&1 </dev/null &
serve=$!
for ((tries = 0; tries < 1200; ++tries)); do
    ! grep -q '^password' "$work/serve.out" || break
    kill -0 $serve || break
    sleep 0.05
done
A=$(awk '$1 == "address" { print $2 }' "$work/serve.out")
P=$(awk '$1 == "password" { print $2 }' "$work/serve.out")
[ -n "$P" ] || fail "scripts/serve: $(cat "$work/serve.out")"

output=$(cd "$work" && A=$A P=$P bash -ec "$lines" 2>&1) || fail "the lines fail: $output"
for words in '"CSRString":"-----BEGIN CERTIFICATE REQUEST-----' '"Members@odata.count":1' \
    '"CommonName":"bmc.example"'; do
    [[ $output == *"$words"* ]] || fail "the lines do not show $words: $output"
done
[[ $output != *'"error"'* ]] || fail "a request was refused: $output"

kill -TERM $serve
wait $serve || true
serve=
! curl -sk "$A/redfish" >/dev/null || fail "the service still answers at $A"
