# An include that leads upwards is named with its file and line; the tree as it is has none.
. "$(dirname "$0")/expect.sh"

expect 0 "" scripts/check-includes

# expect_refused FILE INCLUDE: the one line of that file, in a tree of its own
expect_refused() {
    local tree=$work/tree
    rm -rf "$tree"
    mkdir -p "$tree"/{core,store,requests,actions,platform,frontend,tools} "$(dirname "$tree/$1")"
    printf '\n#include %s\n' "$2" >"$tree/$1"
    expect 1 "$1:2: " scripts/check-includes "$tree"
}

expect_refused core/protocol/keys.h '"core/logger.h"'
expect_refused core/settings.cpp '"store/resource_store.h"'
expect_refused store/read_resource.cpp '"platform/configuration.h"'
expect_refused requests/identifiers.h '"actions/task_state.h"'
expect_refused actions/csr_worker.cpp '<core/daemon/listeners.h>'
expect_refused core/daemon/main.cpp '"frontend/exchange/stored_text.h"'
expect_refused platform/configuration.h '"core/protocol/fields.h"'
expect_refused platform/x509/names.h '"platform/certificate_backend/utf8.h"'
expect_refused frontend/exchange/subscription.h '"frontend/ctl/output.h"'
expect_refused frontend/records/timestamps.cpp '"requests/identifiers.h"'
expect_refused tools/backend_check/main.cpp '"platform/certificate_backend/messages.h"'
expect_refused store/read_resource.cpp '"tests/support/wait.h"'
expect_refused store/read_resource.cpp '"value_text.h"'

mkdir -p "$work/tree/store/new_folder"
echo >"$work/tree/store/new_folder/file.h"
expect 1 "store/new_folder has no line in scripts/check-includes" \
    scripts/check-includes "$work/tree"
