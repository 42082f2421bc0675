# shellcheck shell=bash
# The toolchain: a Debian root of the project's own, in the user's cache folder, and the way into it.
# Sourced by ./dev; `repo` names the repository.
#
# A root is made once for a package list: its name holds a hash of what goes into it. It is built under another name and
# renamed when it is whole, so an interrupted build leaves nothing that looks finished. Everything is mounted in a mount
# namespace of the call, so no mount outlives a call and nothing outside can reach the repository through the root.

readonly base_suite=trixie
readonly later_suites=(forky experimental) # asked in this order for what the base suite has too old
readonly least_protobuf=3.29               # 29.x in the numbers that Debian gives it

say() { printf 'dev: %s\n' "$*" >&2; }
fail() {
    say "$*"
    exit 3
}

package_list() { sed 's/#.*//' "$repo/toolchain/packages${1:+.$1}" | tr -s '[:space:]' '\n' | grep .; }

cache_folder() { printf '%s/tarnwick' "${XDG_CACHE_HOME:-$HOME/.cache}"; }

# Runs a command as root of a private mount namespace: the caller's own root, or that of a user namespace.
in_namespace() {
    local as_user=()
    [ "$(id -u)" -eq 0 ] || as_user=(--user --map-root-user --map-auto)
    unshare "${as_user[@]}" --mount --propagation private -- "$@"
}

# Says what is missing before anything is begun; as root on Debian, installs it.
require_host_tools() {
    local missing=()
    command -v mmdebstrap >/dev/null || missing+=(mmdebstrap)
    command -v unshare >/dev/null || missing+=(util-linux)
    if [ "$(id -u)" -ne 0 ]; then
        command -v newuidmap >/dev/null || missing+=(uidmap)
        grep -q "^\($(id -un)\|$(id -u)\):" /etc/subuid 2>/dev/null ||
            fail "no range of subordinate user ids for $(id -un) in /etc/subuid; as root: usermod --add-subuids 100000-165535 --add-subgids 100000-165535 $(id -un)"
    fi
    if [ ${#missing[@]} -gt 0 ]; then
        [ "$(id -u)" -eq 0 ] && command -v apt-get >/dev/null ||
            fail "missing: ${missing[*]}; as root: apt-get install ${missing[*]}"
        say "installing ${missing[*]}"
        apt-get update -qq >&2
        DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
    fi
    in_namespace true 2>/dev/null ||
        fail "no mount namespace can be made here: an ordinary user needs user namespaces (sysctl kernel.unprivileged_userns_clone=1, or user.max_user_namespaces above 0), root in a container needs CAP_SYS_ADMIN"
}

# The mirror that this machine's own apt uses for Debian; nothing where it names none.
host_mirror() {
    apt-get indextargets --format '$(ORIGIN)|$(LABEL)|$(REPO_URI)' 2>/dev/null |
        sed -n 's/^Debian|Debian|\(https\?:.*\)$/\1/p' | head -n 1
}

host_apt_proxy() { apt-config dump Acquire 2>/dev/null | grep -i '::proxy' || true; }

root_name() {
    {
        printf '%s\n' "$base_suite" "${later_suites[@]}" "$least_protobuf"
        package_list
        cat "$repo/toolchain/toolchain.sh" "$repo/toolchain/install-newest"
    } | sha256sum | cut -c 1-16
}

toolchain_root() { printf '%s/toolchain-%s' "$(cache_folder)" "$(root_name)"; }

# Runs a command inside a root, with the repository at its own path and as the working folder.
enter_root() {
    local root=$1
    shift
    # shellcheck disable=SC2016  # expanded by the inner shell, whose arguments they are
    in_namespace sh -euc '
        root=$1 repo=$2
        shift 2
        mount --rbind /dev "$root/dev"
        mount --rbind /proc "$root/proc"
        mkdir -p "$root$repo"
        mount --rbind "$repo" "$root$repo"
        unset TMPDIR
        PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8
        export PATH HOME LANG
        exec chroot "$root" sh -euc "cd \"\$0\"; exec \"\$@\"" "$repo" "$@"
    ' sh "$root" "$repo" "$@"
}

remove_root() { in_namespace rm -rf --one-file-system "$1"; }

# Installs packages inside a root, with what the base suite has too old from a later one.
install_into_root() {
    local root=$1
    shift
    in_namespace sh -c 'cat /etc/resolv.conf >"$1/etc/resolv.conf"' sh "$root" 2>/dev/null || true
    enter_root "$root" bash toolchain/install-newest "$least_protobuf" "$base_suite" "${later_suites[*]}" "$@" >&2
}

build_root() {
    local root=$1 partial=$1.partial mirror
    mirror=$(host_mirror)
    remove_root "$partial"
    say "making the toolchain in $root: a Debian $base_suite root (about 1.2 GB, once)"
    local include=()
    case $mirror in https:*) include=(--include=ca-certificates) ;; esac
    # A root for building needs neither manuals nor translations, and no flush to disk after each package.
    in_namespace mmdebstrap --quiet --mode=root --variant=apt "${include[@]}" \
        --dpkgopt='path-exclude=/usr/share/doc/*' --dpkgopt='path-exclude=/usr/share/man/*' \
        --dpkgopt='path-exclude=/usr/share/locale/*' --dpkgopt=force-unsafe-io \
        "$base_suite" "$partial" ${mirror:+"$mirror"} >&2 || fail "mmdebstrap could not make the root"
    host_apt_proxy | in_namespace sh -c 'cat >"$1/etc/apt/apt.conf.d/90host-proxy"' sh "$partial"
    # shellcheck disable=SC2046  # one word a package
    install_into_root "$partial" $(package_list) || fail "the toolchain's packages could not be installed"
    in_namespace mv -T "$partial" "$root"
    say "the toolchain is ready"
}

# Prints the root's path; makes the root first where there is none.
require_root() {
    local root
    root=$(toolchain_root)
    if [ ! -d "$root" ]; then
        require_host_tools
        mkdir -p "$(cache_folder)"
        exec {lock}>"$(cache_folder)/lock"
        flock "$lock"
        [ -d "$root" ] || build_root "$root"
        exec {lock}>&-
    fi
    printf '%s' "$root"
}

# Installs the packages of one verb on its first use.
require_packages() {
    local verb=$1 root stamp list
    root=$(require_root)
    list=$(package_list "$verb")
    stamp=/var/lib/tarnwick-$verb-$(sha256sum <<<"$list" | cut -c 1-16)
    [ ! -e "$root$stamp" ] || return 0
    exec {lock}>"$(cache_folder)/lock"
    flock "$lock"
    say "adding what '$verb' needs to the toolchain:" $list
    # shellcheck disable=SC2086  # one word a package
    install_into_root "$root" $list || fail "the packages for '$verb' could not be installed"
    in_namespace touch "$root$stamp"
    exec {lock}>&-
}

in_toolchain() {
    local root
    root=$(require_root)
    enter_root "$root" "$@"
}
