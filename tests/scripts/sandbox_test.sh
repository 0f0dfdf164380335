# What can keep a sandbox from being made is said in words, by the check and by what relies on it.
. "$(dirname "$0")/expect.sh"

expect 0 "" scripts/sandbox --check
expect 7 "" scripts/sandbox sh -c 'exit 7'
expect 0 "uid=0 " scripts/sandbox sh -c 'echo "uid=$(id -u) "'

# in_namespace PREPARATION COMMAND...: as root of a user namespace, after the preparation
in_namespace() {
    unshare --user --map-root-user --mount --pid --fork --mount-proc \
        sh -c "$1"' && shift && exec "$@"' sh "$@"
}
no_namespaces='echo 0 >/proc/sys/user/max_user_namespaces'

expect 125 "as root: sysctl user.max_user_namespaces=" \
    in_namespace "$no_namespaces" scripts/sandbox --check
expect 125 "mount -t proc" in_namespace "mount -t tmpfs none /proc" scripts/sandbox --check
hidden_proc="awk '/ - proc / { print \$5 }' /proc/self/mountinfo |
    while read -r proc; do mount --bind \$proc/sys \$proc/sys; done"
expect 125 "/proc cannot be mounted anew" in_namespace "$hidden_proc" scripts/sandbox --check
expect 125 "the inside of a sandbox" in_namespace "$hidden_proc" env SANDBOX=1 scripts/sandbox --check

# A folder that is no mount point, with all that a root needs.
mkdir "$work/disk"
expect 125 "a plain chroot may have no user namespaces" in_namespace "
    mount -t tmpfs none '$work/disk'
    mkdir -p '$work/disk/root/$root' '$work/disk/root/tmp'
    cd '$work/disk/root'
    for entry in bin sbin lib lib64 usr proc dev; do
        if [ -L /\$entry ]; then cp -P /\$entry .; else mkdir \$entry && mount --rbind /\$entry \$entry; fi
    done
    mount --bind '$root' './$root'" \
    chroot "$work/disk/root" "$root/scripts/sandbox" --check

# Whoever builds first and needs the sandbox then, asks before.
for command in demo test shell soak; do
    expect 125 "no sandbox can be made here" in_namespace "$no_namespaces" "scripts/$command"
done
