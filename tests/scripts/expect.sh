# What the tests of the commands share; sourced by them with ROOT and BUILD as arguments.
set -euo pipefail
root=$1
build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$root"
PATH=$PATH:/usr/sbin:/sbin # chroot, for an ordinary user too

fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

# expect STATUS TEXT COMMAND...: how the command ends, and what it prints among other lines
expect() {
    local wanted=$1 text=$2 status=0 output
    shift 2
    output=$("$@" 2>&1 </dev/null) || status=$?
    [ "$status" = "$wanted" ] || fail "$* ended with $status, not $wanted: $output"
    [[ $output == *"$text"* ]] || fail "$* does not say \"$text\": $output"
}
