# shellcheck shell=bash
# The toolchain: a Debian root of the project's own, in the user's cache folder, and the way into it.
# Sourced by ./dev with `set -euo pipefail`; `repo` names the repository.
#
# A root is made once for what it holds: its name has a hash of that. It is built under another name and renamed when it
# is whole, so an interrupted build leaves nothing that looks finished. Everything is mounted in a mount namespace of
# the call, so no mount outlives a call and nothing outside can reach the repository through the root.
#
# The root has what toolchain/packages lists and nothing else, so no test depends on what another verb installed. What
# linters, fuzzers and benchmarks need goes into a copy, which these verbs share and which has the suffix -tools.

: "${repo:?}"
shopt -s inherit_errexit

readonly base_suite=trixie
readonly later_suites=(forky experimental) # asked in this order for what the base suite has too old
readonly least_protobuf=29
# A root for building needs neither manuals nor translations, and no flush to disk after each package.
# shellcheck disable=SC2016  # expanded by mmdebstrap's shell
readonly root_options=(--variant=apt '--dpkgopt=path-exclude=/usr/share/doc/*' '--dpkgopt=path-exclude=/usr/share/man/*'
    '--dpkgopt=path-exclude=/usr/share/locale/*' --dpkgopt=force-unsafe-io
    '--customize-hook=rm -f "$1/etc/apt/apt.conf.d/99mmdebstrap"')
readonly unused_days=60 # after which a root that no call has used goes, when another is made

cache=~/.cache
[[ ${XDG_CACHE_HOME:-} != /* ]] || cache=$XDG_CACHE_HOME
cache+=/tarnwick

say() { printf 'dev: %s\n' "$*" >&2; }
fail() {
    say "$*"
    exit 3
}

# The command before another that runs it as root of a mount namespace: the caller's own root, or a user namespace's.
namespace=(unshare --mount --propagation private --)
[ "$(id -u)" -eq 0 ] || namespace=(unshare --user --map-root-user --map-auto --mount --propagation private --)
# The same, and all that it started ends when the call ends, however that happens.
bound_namespace=("${namespace[@]}" setpriv --pdeathsig KILL unshare --pid --fork --kill-child --)

package_list() { sed 's/#.*//' "$repo/toolchain/packages${1:+.$1}" | tr -s '[:space:]' '\n' | grep .; }

# Machines of two architectures can share the cache folder.
root_name() {
    local text
    text=$(printf '%s\n' "$(uname -m)" "$base_suite" "${later_suites[@]}" "$least_protobuf" "${root_options[@]}" &&
        package_list && sed '/^ *#/d' "$repo/toolchain/install-newest")
    printf 'toolchain-%s' "$(sha256sum <<<"$text" | cut -c 1-16)"
}

# Prints those of the given programs that are not there.
absent() {
    local tool missing=()
    for tool; do command -v "$tool" >/dev/null || missing+=("$tool"); done
    printf '%s' "${missing[*]}"
}

# Fails with the programs that are missing and how to get the packages that have them.
fail_missing() { # "PROGRAM..." "PACKAGE..."
    ! command -v apt-get >/dev/null || fail "missing: $1; as root: apt-get install $2"
    fail "missing: $1; install the packages that Debian calls $2"
}

# An ordinary user becomes root of a user namespace, which needs a range of ids to be root over.
require_namespaces() {
    local user file why missing ranges=()
    missing=$(absent unshare setpriv flock)
    [ -z "$missing" ] || fail_missing "$missing" util-linux
    if [ "$(id -u)" -ne 0 ]; then
        user=$(id -un 2>/dev/null || id -u)
        missing=$(absent newuidmap newgidmap)
        [ -z "$missing" ] || fail_missing "$missing" uidmap
        for file in /etc/subuid /etc/subgid; do
            awk -F : -v name="$user" -v id="$(id -u)" '($1 == name || $1 == id) && $3 >= 65535 { found = 1 }
                END { exit !found }' "$file" 2>/dev/null || ranges+=("$file")
        done
        [ ${#ranges[@]} -eq 0 ] || fail "$user has no range of 65536 subordinate ids in ${ranges[*]};" \
            "as root: usermod --add-subuids 100000-165535 --add-subgids 100000-165535 $user" \
            "(another range where that one is taken)"
    fi
    why=$("${namespace[@]}" true 2>&1) || if [ "$(id -u)" -eq 0 ]; then
        fail "no mount namespace can be made here ($why): root in a container needs the capability SYS_ADMIN"
    else
        fail "no user namespace can be made here ($why); as root: sysctl user.max_user_namespaces=15000, and where it" \
            'exists kernel.unprivileged_userns_clone=1; a container must allow them too'
    fi
}

# What makes a root; root of a Debian machine gets it installed.
require_host_tools() {
    local missing output
    read -r -a missing < <(absent mmdebstrap mount && echo)
    [ ${#missing[@]} -gt 0 ] || return 0
    if [ "$(id -u)" -ne 0 ] || ! command -v apt-get >/dev/null; then
        fail_missing "${missing[*]}" "${missing[*]}"
    fi
    say "installing ${missing[*]} into this machine"
    # An interrupt waits for the end of this: dpkg cut short would leave work to its owner.
    output=$(
        exec 2>&1
        trap '' INT TERM HUP
        export DEBIAN_FRONTEND=noninteractive
        apt-get update -qq
        apt-get install -y -qq --no-install-recommends -o DPkg::Lock::Timeout=300 "${missing[@]}"
    ) || {
        printf '%s\n' "$output" >&2
        fail "could not install ${missing[*]}"
    }
}

# The first Debian archive among this machine's apt sources whose Release file is in the given lists folder.
debian_archive() {
    local uri file
    apt-get update --print-uris 2>/dev/null | while read -r uri file _; do
        if ! grep -qsx 'Origin: Debian' "$1/$file" || ! grep -qx 'Label: Debian' "$1/$file"; then continue; fi
        uri=${uri//\'/}
        uri=${uri%/dists/*}
        [[ $uri != mirror+file:* ]] || uri=$(awk '/^[^#]/ { print $1; exit }' "${uri#mirror+file:}")
        [[ $uri != http*://* ]] || printf '%s\n' "$uri"
    done | sort -u | sed -n 1p
}

# The mirror that this machine's own apt uses for Debian; nothing where it names none. A machine that has never called
# `apt-get update` learns from the Release files alone what its sources are.
host_mirror() {
    local lists=/var/lib/apt/lists mirror scratch
    command -v apt-get >/dev/null || return 0
    mirror=$(debian_archive "$lists")
    if [ -z "$mirror" ]; then
        scratch=$(mktemp -d)
        apt-get update -qq -o Dir::State::lists="$scratch" -o Dir::Cache="$scratch/cache" \
            -o Acquire::IndexTargets::deb::Packages::DefaultEnabled=false \
            -o Acquire::IndexTargets::deb::Translations::DefaultEnabled=false >/dev/null 2>&1 || true
        mirror=$(debian_archive "$scratch")
        rm -rf "$scratch"
    fi
    printf '%s' "$mirror"
}

# The proxies of this machine's apt, as lines of its configuration. A command that finds a proxy (Proxy-Auto-Detect) is
# on this machine and not in the root: it is run here, for the mirror, or for this machine's first source.
host_proxies() { # MIRROR
    local uri=$1 proxy
    command -v apt-config >/dev/null || return 0
    apt-config dump Acquire | grep -i '::proxy[: ]' || true
    [ -n "$uri" ] || uri=$(apt-get update --print-uris 2>/dev/null | sed -n "1s/^'\([^']*\)'.*/\1/p") || true
    proxy=$(LC_ALL=C /usr/lib/apt/apt-helper auto-detect-proxy "$uri" 2>/dev/null |
        sed -n "s/^Using proxy '\(.*\)' for URL .*/\1/p") || true
    [ -z "$proxy" ] || printf 'Acquire::%s::Proxy "%s";\n' "${uri%%:*}" "$proxy"
}

# Changes to the cache folder, one call at a time; an interrupt says what it leaves.
begin_change() {
    mkdir -p "$cache" || fail "the toolchain's folder cannot be made: $cache"
    trap 'interrupted 130' INT
    trap 'interrupted 143' TERM
    trap 'interrupted 129' HUP
    exec {lock}>"$cache/lock"
    flock --nonblock "$lock" && return
    say 'another call is at work on the toolchain: waiting for it'
    interruptible setpriv --pdeathsig KILL flock "$lock"
}

end_change() {
    trap - INT TERM HUP
    exec {lock}>&-
}

interrupted() {
    say 'interrupted; the next call begins this step again'
    exit "$1"
}

# Runs a program that needs no input. A trap interrupts `wait`, where it would wait for the end of the program itself.
interruptible() {
    "$@" </dev/null &
    wait "$!"
}

# Nothing that is mounted below the cache folder shows in a second mount of the folder alone.
remove_root() {
    # shellcheck disable=SC2016  # expanded by the inner shell, whose arguments they are
    "${namespace[@]}" sh -euc 'mount --bind "$1" "$1"; rm -rf -- "$1/$2"' sh "$cache" "${1##*/}"
}

remove_left_roots() {
    local left
    while IFS= read -r left; do
        [[ $left = *.partial ]] || say "removing a toolchain unused for $unused_days days: $left"
        remove_root "$left" || say "cannot remove $left"
    done < <(find "$cache" -mindepth 1 -maxdepth 1 -type d -name 'toolchain-*' \
        '(' -name '*.partial' -o -mtime "+$unused_days" ')')
}

# The environment inside a root. Of the caller's, only what describes the terminal and the way to the network: what this
# machine tells its own compilers, build tools and tests is not about the root.
environment=(env -i PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8)
for name in TERM COLUMNS NO_COLOR {http,https,ftp,all,no}_proxy {HTTP,HTTPS,FTP,ALL,NO}_PROXY; do
    ! value=$(printenv "$name") || environment+=("$name=$value")
done
unset name value

# Runs a command inside a root, with the repository at its own path and as the working folder. The arguments of the
# inner shell: root, repository, command.
# shellcheck disable=SC2016
enter=("${environment[@]}" sh -euc '
    root=$1 repo=$2
    shift 2
    mount --rbind /dev "$root/dev"
    mount --rbind /proc "$root/proc"
    mkdir -p "$root$repo"
    mount --rbind "$repo" "$root$repo"
    exec chroot "$root" sh -euc "cd \"\$0\"; exec \"\$@\"" "$repo" "$@"
' sh)

# Installs packages inside a root, with what the base suite has too old from a later one.
install_into_root() {
    local root=$1 mirror
    shift
    mirror=$(sed -n 's|^deb .*\(https\?://[^ ]*\) .*|\1|p' "$root/etc/apt/sources.list" | sed -n 1p)
    cp --remove-destination /etc/resolv.conf /etc/hosts "$root/etc" 2>/dev/null || true
    # The root trusts for its mirror whom this machine trusts.
    host_proxies "$mirror" >"$root/etc/apt/apt.conf.d/90host"
    if cp -L /etc/ssl/certs/ca-certificates.crt "$root/etc/apt/host-ca.crt" 2>/dev/null; then
        printf 'Acquire::https::CAInfo "/etc/apt/host-ca.crt";\n' >>"$root/etc/apt/apt.conf.d/90host"
    fi
    interruptible "${bound_namespace[@]}" "${enter[@]}" "$root" "$repo" \
        bash toolchain/install-newest "$least_protobuf" "$base_suite" "${later_suites[*]}" "$@" >&2
}

# Makes a root by a command that is given the name to build it under. Does nothing where the root is there.
make_root() { # ROOT COMMAND
    if [ ! -d "$1" ]; then
        begin_change
        if [ ! -d "$1" ]; then
            remove_left_roots
            "$2" "$1.partial"
            sync --file-system "$1.partial"
            mv -T "$1.partial" "$1"
            say 'the toolchain is ready'
        fi
        end_change
    fi
    touch --no-create "$1" || true
}

build_root() { # PARTIAL
    local mirror options=("${root_options[@]}") packages proxy
    require_host_tools
    mirror=$(host_mirror)
    say "making the toolchain in ${1%.partial} (once: a minute or so, 1.2 GB)"
    say "step 1 of 2: a Debian $base_suite root from ${mirror:-the default mirror}"
    while IFS= read -r proxy; do options+=(--aptopt="$proxy"); done < <(host_proxies "$mirror")
    interruptible "${bound_namespace[@]}" mmdebstrap --quiet --mode=root --skip=chroot/mount/sys "${options[@]}" \
        "$base_suite" "$1" ${mirror:+"$mirror"} >&2 ||
        fail "the root could not be made from ${mirror:-the default mirror}: is the network there, and the disk free?"
    mapfile -t packages < <(package_list)
    say "step 2 of 2: ${#packages[@]} packages and what they need"
    install_into_root "$1" "${packages[@]}" || fail "the toolchain's packages could not be installed"
    basename "$1" .partial >"$1/etc/tarnwick-toolchain"
}

# Another call may be writing to the temporary folder of `root`.
copy_root() { # PARTIAL
    say "copying the toolchain to ${1%.partial}, for tools that not every verb needs (once: 1.2 GB)"
    # shellcheck disable=SC2016  # expanded by the inner shell, whose arguments they are
    interruptible "${bound_namespace[@]}" sh -euc '
        mount -t tmpfs -o mode=1777 tmpfs "$1/tmp"
        mount -t tmpfs -o mode=755 tmpfs "$1/dev"
        cp -a --one-file-system "$1" "$2"
    ' sh "$root" "$1" || fail 'the toolchain could not be copied: is the disk free?'
}

# Sets `root`, once, to the root of the packages that every verb needs.
require_root() {
    [ -z "${root:-}" ] || return 0
    [ ! -e /etc/tarnwick-toolchain ] || fail 'this is the toolchain already: call cmake and the rest directly'
    require_namespaces
    root=$cache/$(root_name)
    make_root "$root" build_root
}

# Sets `root`, once, to the copy that has the packages of the given verbs too.
require_packages() { # VERB...
    local verb list stamp
    require_root
    make_root "$root-tools" copy_root
    root+=-tools
    for verb; do
        mapfile -t list < <(package_list "$verb")
        stamp=$root/var/lib/tarnwick-$verb-$(sha256sum <<<"${list[*]}" | cut -c 1-16)
        [ ! -e "$stamp" ] || continue
        begin_change
        if [ ! -e "$stamp" ]; then
            say "adding to the toolchain what '$verb' needs: ${list[*]}"
            install_into_root "$root" "${list[@]}" || fail "the packages for '$verb' could not be installed"
            touch "$stamp"
        fi
        end_change
    done
}

in_toolchain() {
    require_root
    "${namespace[@]}" "${enter[@]}" "$root" "$repo" "$@"
}
