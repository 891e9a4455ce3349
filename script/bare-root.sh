# shellcheck shell=bash
# Shared by the scripts that need a bare Debian 12: makes one in a temporary folder, and runs commands in it. To be
# sourced; the script must be run as root. Leaves the folder in `folder`, and the root in `root`.

release=bookworm

[ "$(id -u)" -eq 0 ] || { echo "$0: must be run as root" >&2; exit 1; }
if ! command -v mmdebstrap >/dev/null; then
  apt-get update
  DEBIAN_FRONTEND=noninteractive apt-get --yes --no-install-recommends install mmdebstrap
fi

folder=$(mktemp -d)
root=$folder/root
# Mounts are made where only the commands see them, and go with their last process.
clean_up() {
  [ ! -f "$folder/pid" ] || kill -KILL "$(cat "$folder/pid")" 2>/dev/null || true
  rm -rf "$folder"
}
trap clean_up EXIT

# Debian's own sources only; without any, the bare machine gets the usual ones.
package_sources() {
  apt-get indextargets --format '$(CODENAME) deb $(REPO_URI) $(RELEASE) $(COMPONENT)' \
    'Created-By: Packages' 'Origin: Debian' | sed -n "s/^${release}[^ ]* //p" | sort -u
}

# The sources of packages and the settings of the network are this machine's.
make_root() {
  local sources settings
  sources=$(package_sources)
  mapfile -t settings < <(apt-config dump |
    sed -nE 's/^Acquire::(.*::)?(Proxy|Check-Valid-Until|Check-Date)\b/--aptopt=&/p')
  [[ $sources != *https:* ]] || settings+=(--include=ca-certificates)
  # apt's own user fetches the packages.
  chmod 755 "$folder"
  mmdebstrap --quiet --variant=minbase "${settings[@]}" $release "$root" ${sources:+-} <<<"$sources" &&
    cp -L /etc/resolv.conf "$root/etc/resolv.conf" &&
    # Every machine has it, but its installer writes it.
    printf '127.0.0.1\tlocalhost\n::1\tlocalhost\n' >"$root/etc/hosts"
}

# in_root FOLDER COMMAND...: there, with nothing of this machine's environment but terminal and proxies. The root is the
# root of its mounts too: where it is only changed to, nobody may make namespaces of users or mount anything over it.
in_root() {
  local variables status=0
  mapfile -t variables < <(env | grep -iE '^(term|[a-z]+_proxy)=')
  # The shell stays as the first process, which has to take in those whose parents have ended.
  bash -c 'echo $$ >"$1"; shift; exec setpriv --pdeathsig KILL unshare --mount --pid --fork --kill-child "$@"' - \
    "$folder/pid" bash -euc '
      root=$1; shift
      mount --bind "$root" "$root"
      mount -t proc proc "$root/proc"
      mount --rbind /dev "$root/dev"
      mount --rbind /sys "$root/sys"
      cd "$root"
      pivot_root . .
      umount --lazy .
      cd /
      status=0
      env --ignore-environment "$@" || status=$?
      exit $status' - "$root" \
    "${variables[@]}" HOME=/root PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
    bash -c 'cd "$1" && shift && exec "$@"' - "$@" || status=$?
  rm "$folder/pid"
  return $status
}
