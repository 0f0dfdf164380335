# What the documents name is there: files, links and their headings; and the table of folders says what
# scripts/check-includes holds.
. "$(dirname "$0")/expect.sh"

documents=(README.md CONTRIBUTING.md CHANGELOG.md docs/*.md)
folders='\.ci|actions|bench|cmake|core|docs|frontend|fuzz|packaging|platform|requests|scripts|store|tests|tools'

# What stands in backticks and begins with one of the folders is a file or folder. "build" is made.
for page in "${documents[@]}"; do
    while read -r path; do
        [ -e "$path" ] || fail "$page names $path, which is not there"
    done < <(grep -oE "\`($folders)/[^\` ]*" "$page" | tr -d '`')
done

# headings PAGE: as links name them
headings() {
    sed -n -E 's/^#+ //p' "$1" | tr 'A-Z ' 'a-z-' | sed 's/[^a-z0-9-]//g'
}

# links PAGE: the targets of its links within the repository, a line break in the text or not
links() {
    tr '\n' ' ' <"$1" | grep -oE '\]\([^):]+\)' | sed -e 's/^](//' -e 's/)$//'
}

for page in "${documents[@]}"; do
    while read -r link; do
        file=${link%%#*}
        target=$page
        [ -z "$file" ] || target=$(dirname "$page")/$file
        [ -e "$target" ] || fail "$page leads to $link, which is not there"
        [ "$link" = "$file" ] || headings "$target" | grep -x -- "${link#*#}" >/dev/null ||
            fail "$page leads to $link, and there is no such heading"
    done < <(links "$page")
done

# Both as "folder: what it may include", sorted.
held() {
    sed -n "/^rooms='/,/^'/p" scripts/check-includes | sed '1d;$d' |
        awk '{ line = $1 ":"; for (i = 2; i <= NF; i++) line = line " " $i; print line }' | sort
}
shown() {
    sed -n '/^## What may include what/,/^## Threads/p' docs/architecture.md | grep '^| `' |
        awk -F'|' '{ gsub(/[`,]/, ""); n = split($2 " " $3, word, " "); line = word[1] ":"
            for (i = 2; i <= n; i++) line = line " " word[i]; print line }' | sort
}
[ "$(held | wc -l)" -gt 15 ] || fail "scripts/check-includes has no table"
diff <(held) <(shown) || fail "docs/architecture.md shows another table than scripts/check-includes holds"
