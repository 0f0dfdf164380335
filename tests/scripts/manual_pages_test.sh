# The pages that are written by hand name the options of their programs, all and no other.
. "$(dirname "$0")/expect.sh"

programs=$build/bin
[ ! -d "$build/launch" ] || programs=$build/launch

long_options() {
    grep -oE -- '--[a-z][a-z-]+' | sort -u
}

for page in packaging/certificateweb.8 packaging/certificate-backend-check.1; do
    program=$(basename "${page%.*}")
    "$programs/$program" --help >"$work/help" || fail "$program has no help"
    diff <(long_options <"$work/help") <(sed 's/\\-/-/g' "$page" | long_options) ||
        fail "$page names other options than $program --help"
done
