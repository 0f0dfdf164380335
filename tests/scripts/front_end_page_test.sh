# The transcript of docs/front-end.md goes as the page shows it.
. "$(dirname "$0")/expect.sh"

transcript() {
    scripts/shell --build "$build" bash "$root/tests/scripts/run_transcript.sh" "$1"
}
expect 0 "docs/front-end.md went as shown" transcript "$root/docs/front-end.md"

# What is shown otherwise, or not at all, is found.
mkdir "$work/pages"
printf '```console\n$ echo one; echo two\none\n...\n$ echo three\nfour\n```\n' >"$work/pages/wrong.md"
printf 'nothing\n' >"$work/pages/empty.md"
export SANDBOX_WRITABLE=$work/pages
expect 1 '$ echo three' transcript "$work/pages/wrong.md"
expect 1 "has no console blocks" transcript "$work/pages/empty.md"
