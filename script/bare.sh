# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# A minimal Debian 12 in a folder under /tmp, for the scripts that prove what a newcomer's machine can do. Sourced after
# common.sh by a script that runs as root; makes the folder at once, removes it when the script ends (not if KEEP is set),
# and defines the function below. The package mirror and its settings are this machine's.

((EUID == 0)) || die "needs root, for chroot"
command -v debootstrap >/dev/null || die "needs debootstrap (script/bootstrap --develop)"

bare=$(mktemp -d /tmp/kelvane-bare.XXXXXX)
chmod 755 "$bare" # it is the root folder there, which every user may enter
# shellcheck disable=SC2317  # called by the trap
cleanup() {
    local point
    for point in dev proc; do
        ! mountpoint -q "$bare/$point" || umount -R "$bare/$point" || umount -R -l "$bare/$point"
    done
    # Never deletes through a mount that would not go: this machine's /dev is behind it.
    [[ -n ${KEEP:-} ]] || rm -rf --one-file-system "$bare"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

# The first Debian source of this machine, in the one-line or the deb822 form.
mirror=$({ cat /etc/apt/sources.list /etc/apt/sources.list.d/*.{list,sources} 2>/dev/null || true; } |
    awk '/^deb /{for (i = 2; i <= NF; i++) if ($i ~ /^[a-z]+:\/\//) {print $i; exit}} /^URIs:/{print $2; exit}')
[[ -n $mirror ]] || die "found no package source in /etc/apt"

# What this machine's apt needs to reach its mirror: sources, settings, keys, certificates. It goes in after the base
# system, so that packages named there do not count as installed.
apt_settings() {
    local path
    rm -f "$bare/etc/apt/sources.list"
    for path in /etc/apt/sources.list /etc/apt/sources.list.d /etc/apt/apt.conf /etc/apt/apt.conf.d /etc/apt/auth.conf.d \
        /etc/apt/keyrings /etc/apt/trusted.gpg.d /usr/share/keyrings /etc/ssl/certs /etc/hosts; do
        [[ ! -e $path ]] || cp -rL --parents "$path" "$bare" 2>/dev/null || true
    done
    cp -L /etc/resolv.conf "$bare/etc/resolv.conf"
}

quietly bare "minimal Debian 12" debootstrap --variant=minbase bookworm "$bare" "$mirror"
apt_settings
mount -t proc proc "$bare/proc"
mount --rbind --make-rslave /dev "$bare/dev" 2>/dev/null || mount --bind /dev "$bare/dev"

# in_bare COMMAND...: runs there, in a process space of its own, so that an interrupt leaves nothing running.
in_bare() {
    unshare --pid --fork --kill-child chroot "$bare" env -i HOME=/root TERM="${TERM:-dumb}" \
        PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin "$@" </dev/null
}
