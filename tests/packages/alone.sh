# Run in a bare root: installs one package with what it depends on, looks whether it is whole, and removes it.
#
#   alone.sh PACKAGE
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive
package=$1

fail() {
  echo "$package: $*" >&2
  exit 1
}
installed() {
  dpkg-query --show --showformat='${Package} ${db:Status-Abbrev}\n' | sort
}

before=$(installed)
apt-get --quiet=2 --yes --no-install-recommends install "$package" >/tmp/apt.txt 2>&1 || { cat /tmp/apt.txt; fail "cannot be installed"; }
grep -q "^Setting up $package " /tmp/apt.txt || fail "was there before"
mapfile -t files < <(dpkg --listfiles "$package")
for file in "${files[@]}"; do
  [ -e "$file" ] || fail "$file leads nowhere"
  [ -f "$file" ] && [ "$(head -c 4 "$file" | tail -c 3 | tr -d '\0')" = ELF ] || continue
  # Every library is found without any variable, and none by a path of the build.
  needed=$(ldd "$file")
  [[ $needed != *"not found"* ]] || fail "$file: $needed"
done
[ -s "/usr/share/doc/$package/copyright" ] || fail "has no copyright"
for library in "${files[@]}"; do
  [[ $library =~ /liborvnetwork[^/]*\.so\.[0-9] ]] || continue
  ldconfig --print-cache | grep -q "${library##*/}" || [[ $library =~ \.so(\.[0-9]+){3}$ ]] || fail "ldconfig does not know $library"
done
apt-get --quiet=2 --yes purge "$package" >/dev/null
apt-get --quiet=2 --yes --purge autoremove >/dev/null
[ "$(installed)" = "$before" ] || fail "leaves packages: $(diff <(echo "$before") <(installed))"
[ -z "$(find / -xdev -iname '*orvnetwork*' -not -path '/packages/*' -not -path '/var/lib/apt/*' -not -path '/etc/apt/*' \
  -not -path '/root/*' -not -path '/tests/*')" ] || fail "leaves files"
