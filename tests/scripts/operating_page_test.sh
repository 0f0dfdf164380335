# docs/operating.md explains every line with which the daemon, its store or its log tells a failure, and
# those of certificateweb.
. "$(dirname "$0")/expect.sh"

# The texts of three words or more in the daemon's sources, one on each line, without what is only for
# debugging: what tells that a step went well, or with which settings, and parts of messages.
texts() {
    find core store requests actions frontend/web -name '*.cpp' | sort | xargs perl -0777 -ne '
        s{//[^\n]*|R"\(.*?\)"}{}gs;                             # comments, documents
        s{"\s*\n\s*"}{}g;                                       # texts in pieces
        s{(->debug|logStoreInfo)\([^;]*;|\x27(\\?.)\x27}{}gs;   # debugging, single characters
        while (m{"((?:[^"\\\n]|\\.)*)"}g) {
            my $text = $1;
            next if ($text =~ tr/ //) < 2 || $text =~ /^begin |^>>> skeleton|^ null null$|^, |^Input Array style =/;
            next if $ARGV =~ m{^frontend/} && $text !~ /^certificateweb: /;
            print "$text\n";
        }' | sort -u
}

# The longest part of a text that holds no place for data.
fixed_part() {
    printf '%s\n' "$1" | sed -e 's/\\n$//' -e 's/%[a-z]*/\n/g' |
        sed -e 's/^ *//' -e 's/ *$//' | awk 'length > length(part) { part = $0 } END { print part }'
}

# explained PAGE: whether each text stands between backticks in a row of a table
explained() {
    local text part missing=0
    grep '^| ' "$1" | grep -o '`[^`]*`' >"$work/explained"
    while read -r text; do
        part=$(fixed_part "$text")
        grep -qF -- "$part" "$work/explained" || {
            echo "not explained: $part"
            missing=1
        }
    done < <(texts)
    return $missing
}

[ "$(texts | wc -l)" -gt 60 ] || fail "the sources' texts are not found"
expect 0 "" explained docs/operating.md

# A line that nobody explains is found.
grep -v 'get lock error' docs/operating.md >"$work/page.md"
expect 1 "not explained: Create certificate: get lock error." explained "$work/page.md"
