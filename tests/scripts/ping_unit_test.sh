# The unit that asks the daemon for an answer restarts it for want of one, and for no other reason.
. "$(dirname "$0")/expect.sh"
. scripts/lib.sh
unit=$build/packaging/certificate-service-ping.service

# What systemd hands to the shell when the check has ended.
after=$(sed -n "s/^ExecStopPost=+sh -c '\(.*\)'$/\1/p" "$unit" | sed 's/\$\$/$/g')
[ -n "$after" ] || fail "$unit does nothing after the check"

mkdir "$work/bin"
printf '#!/bin/sh\necho "$*" >>%s\n' "$work/calls" >"$work/bin/systemctl"
chmod +x "$work/bin/systemctl"

for status in 0 1 2 3 5 130; do
    EXIT_STATUS=$status PATH=$work/bin:$PATH sh -c "$after" || fail "status $status: a failure"
    [ ! -e "$work/calls" ] || fail "status $status: $(cat "$work/calls")"
done
EXIT_STATUS=4 PATH=$work/bin:$PATH sh -c "$after"
[ "$(cat "$work/calls")" = "--no-block try-restart certificate-service.service" ] ||
    fail "status 4: $(cat "$work/calls")"

# The check's own command line is one that certificatectl understands.
call=$(sed -n 's/^ExecStart=.*\/certificatectl //p' "$unit")
[ -n "$call" ] || fail "$unit does not call certificatectl"
expect 3 "Redis is not there" scripts/sandbox "$(programs_of "$build")/certificatectl" $call
