# run_transcript.sh PAGE: carries out the page's console blocks, one after another in this shell, and
# compares what each command prints with what the page shows below it.
#
# "$ " begins a command of one line. In the shown lines "..." stands for anything, line ends included.
set -uo pipefail

page=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
steps=0
command=
shown=

# fits TEXT SHOWN: whether the text is what is shown
fits() {
    local rest=$1 wanted=$2 piece first=yes
    while [[ $wanted == *...* ]]; do
        piece=${wanted%%...*}
        wanted=${wanted#*...}
        if [ $first = yes ]; then
            [[ $rest == "$piece"* ]] || return 1
        else
            [[ $rest == *"$piece"* ]] || return 1
        fi
        rest=${rest#*"$piece"}
        first=no
    done
    if [ $first = yes ]; then [[ $rest == "$wanted" ]]; else [[ $rest == *"$wanted" ]]; fi
}

# Carries out the command that has been read, if any, and compares.
finish_step() {
    [ -n "$command" ] || return 0
    local seen
    eval "$command" </dev/null >"$work/output" 2>&1
    seen=$(cat "$work/output"; echo .) # keeps line ends at the end
    seen=${seen%.}
    if ! fits "$seen" "$shown"; then
        printf '%s: this command\n\n$ %s\n\nshows\n\n%s\nand not\n\n%s' "$page" "$command" "$seen" \
            "$shown" >&2
        exit 1
    fi
    steps=$((steps + 1))
    command=
}

inside=no
while IFS= read -r line <&3; do
    case $inside:$line in
        no:'```console') inside=yes ;;
        yes:'```')
            finish_step
            inside=no ;;
        yes:'$ '*)
            finish_step
            command=${line#'$ '}
            shown= ;;
        yes:*) shown+=$line$'\n' ;;
    esac
done 3<"$page"
[ "$steps" -gt 0 ] || { echo "$page has no console blocks" >&2; exit 1; }
echo "$steps steps of $page went as shown"
