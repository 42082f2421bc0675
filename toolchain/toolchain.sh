# shellcheck shell=bash
# The toolchain: a Debian root of the project's own in the user's cache folder, and the functions that create and enter
# it. Sourced by ./dev with `set -euo pipefail`; `repo` is the path of the repository.
#
# A root is created once for each set of contents, and its name has a hash of them. It is built under a temporary name
# and renamed when it is complete, so an interrupted build leaves nothing that looks finished. Everything is mounted in
# a mount namespace of the call. So no mount outlives a call, and nothing outside can reach the repository through the
# root.
#
# The root has exactly the packages that toolchain/packages lists, so no test depends on what another verb installed.
# Packages of linters, fuzzers and benchmarks go into a copy with the suffix -tools, which these verbs share.

: "${repo:?}"
shopt -s inherit_errexit

readonly base_suite=trixie
readonly later_suites=(forky experimental) # tried in this order if the base suite's version is too old
readonly least_protobuf=29
# A root for building needs no manuals, no translations, and no flush to disk after each package.
# shellcheck disable=SC2016  # expanded by mmdebstrap's shell
readonly root_options=(--variant=apt '--dpkgopt=path-exclude=/usr/share/doc/*' '--dpkgopt=path-exclude=/usr/share/man/*'
    '--dpkgopt=path-exclude=/usr/share/locale/*' --dpkgopt=force-unsafe-io
    '--customize-hook=rm -f "$1/etc/apt/apt.conf.d/99mmdebstrap"')
readonly unused_days=60 # unused roots are removed after so many days, when another is created

cache=~/.cache
[[ ${XDG_CACHE_HOME:-} != /* ]] || cache=$XDG_CACHE_HOME
cache+=/tarnwick

say() { printf 'dev: %s\n' "$*" >&2; }
fail() {
    say "$*"
    exit 3
}

# Prefix of a command that runs it as root of a mount namespace: as the caller's own root, or as root of a user
# namespace.
namespace=(unshare --mount --propagation private --)
[ "$(id -u)" -eq 0 ] || namespace=(unshare --user --map-root-user --map-auto --mount --propagation private --)
# The same; all processes that the command started end with the call, even if it is killed.
bound_namespace=("${namespace[@]}" setpriv --pdeathsig KILL unshare --pid --fork --kill-child --)

package_list() { sed 's/#.*//' "$repo/toolchain/packages${1:+.$1}" | tr -s '[:space:]' '\n' | grep .; }

# Machines of different architectures can share the cache folder.
root_name() {
    local text
    text=$(printf '%s\n' "$(uname -m)" "$base_suite" "${later_suites[@]}" "$least_protobuf" "${root_options[@]}" &&
        package_list && sed '/^ *#/d' "$repo/toolchain/install-newest")
    printf 'toolchain-%s' "$(sha256sum <<<"$text" | cut -c 1-16)"
}

# Prints the given programs that are missing.
absent() {
    local tool missing=()
    for tool; do command -v "$tool" >/dev/null || missing+=("$tool"); done
    printf '%s' "${missing[*]}"
}

# Fails with the names of missing programs and how to install their packages.
fail_missing() { # "PROGRAM..." "PACKAGE..."
    ! command -v apt-get >/dev/null || fail "missing: $1; as root: apt-get install $2"
    fail "missing: $1; install the packages that Debian calls $2"
}

# An ordinary user becomes root of a user namespace, which needs a range of subordinate ids.
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

# Checks the programs that create a root. On Debian, root gets missing ones installed.
require_host_tools() {
    local missing output
    read -r -a missing < <(absent mmdebstrap mount && echo)
    [ ${#missing[@]} -gt 0 ] || return 0
    if [ "$(id -u)" -ne 0 ] || ! command -v apt-get >/dev/null; then
        fail_missing "${missing[*]}" "${missing[*]}"
    fi
    say "installing ${missing[*]} into this machine"
    # An interrupt waits for the end of the installation: an interrupted dpkg would have to be repaired by hand.
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

# Prints the first Debian archive among this machine's apt sources whose Release file is in the given lists folder.
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

# Prints the mirror that this machine's apt uses for Debian, or nothing if there is none. Before the first `apt-get
# update` there are no Release files, so they are fetched into a temporary folder.
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

# Prints the proxies of this machine's apt, as lines of its configuration. A command that detects a proxy
# (Proxy-Auto-Detect) exists on this machine and not in the root, so it runs here, for the mirror or for this machine's
# first source.
host_proxies() { # MIRROR
    local uri=$1 proxy
    command -v apt-config >/dev/null || return 0
    apt-config dump Acquire | grep -i '::proxy[: ]' || true
    [ -n "$uri" ] || uri=$(apt-get update --print-uris 2>/dev/null | sed -n "1s/^'\([^']*\)'.*/\1/p") || true
    proxy=$(LC_ALL=C /usr/lib/apt/apt-helper auto-detect-proxy "$uri" 2>/dev/null |
        sed -n "s/^Using proxy '\(.*\)' for URL .*/\1/p") || true
    [ -z "$proxy" ] || printf 'Acquire::%s::Proxy "%s";\n' "${uri%%:*}" "$proxy"
}

# Locks the cache folder, so that one call at a time changes it. An interrupt prints what it leaves.
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

# Runs a program without input in the background. A trap can interrupt `wait`; in the foreground it would wait for the
# program's end.
interruptible() {
    "$@" </dev/null &
    wait "$!"
}

# In a second mount of the cache folder nothing is mounted below it.
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

# The environment inside a root. Only variables that describe the terminal and the network are passed on: those for
# compilers, build tools and tests describe this machine, not the root.
environment=(env -i PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8)
for name in TERM COLUMNS NO_COLOR {http,https,ftp,all,no}_proxy {HTTP,HTTPS,FTP,ALL,NO}_PROXY; do
    ! value=$(printenv "$name") || environment+=("$name=$value")
done
unset name value

# Runs a command inside a root, with the repository at its own path and as the working folder. Arguments of the inner
# shell: root, repository, command.
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

# Installs packages inside a root, from a later suite if the base suite's version is too old.
install_into_root() {
    local root=$1 mirror
    shift
    mirror=$(sed -n 's|^deb .*\(https\?://[^ ]*\) .*|\1|p' "$root/etc/apt/sources.list" | sed -n 1p)
    cp --remove-destination /etc/resolv.conf /etc/hosts "$root/etc" 2>/dev/null || true
    # The root trusts the same certificates for its mirror as this machine.
    host_proxies "$mirror" >"$root/etc/apt/apt.conf.d/90host"
    if cp -L /etc/ssl/certs/ca-certificates.crt "$root/etc/apt/host-ca.crt" 2>/dev/null; then
        printf 'Acquire::https::CAInfo "/etc/apt/host-ca.crt";\n' >>"$root/etc/apt/apt.conf.d/90host"
    fi
    interruptible "${bound_namespace[@]}" "${enter[@]}" "$root" "$repo" \
        bash toolchain/install-newest "$least_protobuf" "$base_suite" "${later_suites[*]}" "$@" >&2
}

# Creates a root unless it exists. The command is called with the temporary name.
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

# Sets `root`, once, to the root with the packages of every verb.
require_root() {
    [ -z "${root:-}" ] || return 0
    [ ! -e /etc/tarnwick-toolchain ] || fail 'this is the toolchain already: call cmake and the rest directly'
    require_namespaces
    root=$cache/$(root_name)
    make_root "$root" build_root
}

# Sets `root`, once, to the copy that also has the packages of the given verbs.
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
