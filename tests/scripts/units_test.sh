# The systemd units: systemd understands every line of them, and they leave little open.
. "$(dirname "$0")/expect.sh"

# expect_closed TENTHS UNIT: systemd's own measure of what a service may do, from 0 to 10
expect_closed() {
    local score
    score=$(systemd-analyze security --offline=true --no-pager --threshold="$1" "$2") ||
        fail "${score##*$'\n'}; at most $1 tenths"
}

units=$build/packaging
expect_closed 10 "$units/certificate-service.service"
[ ! -e "$units/certificate-service-ping.service" ] ||
    expect_closed 10 "$units/certificate-service-ping.service"
# It serves the network, and reads what others own.
[ ! -e "$units/certificateweb.service" ] || expect_closed 20 "$units/certificateweb.service"

# The programs of the units need not be installed here.
for unit in "$units"/*.service; do
    sed -E 's#^(Exec[A-Za-z]+=\+?)/[^ ]*/(CertificateService|certificate[a-z]+)#\1/bin/true#' "$unit" \
        >"$work/$(basename "$unit")"
done
complaints=$(systemd-analyze verify --man=no --recursive-errors=no "$work"/*.service \
    packaging/*.timer 2>&1) || fail "$complaints"
[ -z "$complaints" ] || fail "$complaints"
