# Run in a bare root: installs the packages step by step, uses each as its user would, and removes them all.
#
#   together.sh 'PACKAGE...'
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8
read -ra packages <<<"$1"

step() { printf '=== %s\n' "$*"; }
fail() { echo "$*" >&2; exit 1; }
install() {
  apt-get --quiet=2 --yes --no-install-recommends install "$@" >/tmp/apt.txt 2>&1 || { cat /tmp/apt.txt; fail "cannot install $*"; }
}
# Names of all files but those of the package manager's own books.
all_files() {
  find / -xdev \( -path /proc -o -path /sys -o -path /dev -o -path /tmp -o -path /packages -o -path /tests \
    -o -path /var/lib/dpkg -o -path /var/lib/apt -o -path /var/log -o -path /var/cache -o -path /root \) -prune -o -print | sort
}
# The numbers that versions have in common which go together with the installed one, and those that come after them.
compatible() { pkg-config --modversion orvnetwork | sed -E 's/^(0\.[0-9]+|[0-9]+)\..*/\1/'; }
incompatible() { compatible | awk -F. -v OFS=. '{ $NF += 1; print }'; }
# build PROGRAM TARGET COMPONENTS: a project of one program.
build() {
  local folder=/root/build-$1
  mkdir -p "$folder"
  cp "/tests/install/consumer/$1.cpp" "$folder"
  cat >"$folder/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.25)
project(Host LANGUAGES CXX)
find_package(OrvNetwork $(compatible) REQUIRED COMPONENTS $3)
add_executable($1 $1.cpp)
target_link_libraries($1 PRIVATE $2)
END
  cmake -S "$folder" -B "$folder/build" >"$folder/log" 2>&1 && cmake --build "$folder/build" >>"$folder/log" 2>&1 ||
    { cat "$folder/log"; return 1; }
}
# by_pkg_config PROGRAM PACKAGE
by_pkg_config() {
  local flags
  read -ra flags <<<"$(pkg-config --cflags --libs "$2")"
  g++ "/tests/install/consumer/$1.cpp" -o "/root/$1" "${flags[@]}" && "/root/$1" | grep -q done || fail "pkg-config $2"
}
# uses PROGRAM TARGET PKG_CONFIG [COMPONENTS]
uses() {
  step "$1: find_package and pkg-config"
  build "$1" "$2" "${4:-}" || fail "cannot build $1"
  "/root/build-$1/build/$1" | grep -q done || fail "$1 does not run"
  by_pkg_config "$1" "$3"
}

step "compiler, shells and the packages' own dependencies"
install g++ cmake make pkg-config man-db groff-base bash-completion zsh fish python3 desktop-file-utils \
  "${packages[@]}"
apt-get --quiet=2 --yes purge "${packages[@]}" >/dev/null
all_files >/tmp/before

step "liborvnetwork-dev"
install liborvnetwork-dev
uses host OrvNetwork::orvnetwork orvnetwork
cp -r /root/build-host /root/build-later
cd /root/build-later
sed -i 's/COMPONENTS/COMPONENTS testing/' CMakeLists.txt
! cmake -S . -B other >/dev/null 2>&1 || fail "find_package finds a component that is not installed"
sed -i "s/OrvNetwork .* REQUIRED COMPONENTS testing/OrvNetwork $(incompatible) REQUIRED/" CMakeLists.txt
grep -q "OrvNetwork $(incompatible) REQUIRED" CMakeLists.txt
! cmake -S . -B other >/dev/null 2>&1 || fail "find_package takes another version for this one"
cd /
step "liborvnetwork-testing-dev"
install liborvnetwork-testing-dev
uses host_test OrvNetwork::testing orvnetwork-testing testing
step "liborvnetwork-devserver-dev"
install liborvnetwork-devserver-dev
uses server_test OrvNetwork::devserver orvnetwork-devserver "testing devserver"
step "liborvnetwork-qt-dev"
install liborvnetwork-qt-dev
uses qt_host OrvNetwork::qt orvnetwork-qt qt
step "liborvnetwork-glib-dev"
install liborvnetwork-glib-dev
uses glib_host OrvNetwork::glib orvnetwork-glib glib

step "orvnetwork-tools"
install orvnetwork-tools
[ "$(orv --version)" = "orv $(pkg-config --modversion orvnetwork)" ] || fail "orv and pkg-config disagree on the version"
orv call Dev.Echo '{"hello":1}' 2>/dev/null | grep -q '"hello":1' || fail "orv call"
for page in orv orv-devserver; do
  man "$page" | grep -q SYNOPSIS || fail "man $page"
  man --whatis "$page" | grep -q "$page" || mandb --quiet && man --whatis "$page" | grep -q "$page" || fail "whatis $page"
done
step "completions, by each shell"
mkdir /root/manuals
for program in orv orv-devserver; do
  cp "/usr/share/bash-completion/completions/$program" "/root/manuals/$program.bash"
  cp "/usr/share/zsh/vendor-completions/_$program" "/root/manuals/$program.zsh"
  cp "/usr/share/fish/vendor_completions.d/$program.fish" "/root/manuals/"
  gzip --decompress --stdout "/usr/share/man/man1/$program.1.gz" >"/root/manuals/$program.1"
done
python3 -B /tests/manuals/check_manuals.py --all-shells /root/manuals /usr/bin/orv /usr/bin/orv-devserver
# As a person's shell finds them: by nothing but their places.
bash -c '. /usr/share/bash-completion/bash_completion; _completion_loader orv; complete -p orv' | grep -q _orv || fail "bash does not find it"
fish -c 'complete -C "orv cour"' | grep -q courses || fail "fish does not find it"
zsh -fc 'autoload -Uz compinit && compinit -u -D && print -r -- $_comps[orv] $_comps[orv-devserver]' |
  grep -qx '_orv _orv-devserver' || fail "zsh does not find it"

step "orvnetwork-classroom"
install orvnetwork-classroom
desktop-file-validate /usr/share/applications/orv-classroom.desktop || fail "the entry in the menu is not well-formed"
[ -s /usr/share/icons/hicolor/scalable/apps/orv-classroom.svg ] || fail "the application has no icon"
man orv-classroom | grep -q SYNOPSIS || fail "man orv-classroom"
# Its window can be drawn on a machine without a display, too; then it lives until somebody ends it.
code=0
QT_QPA_PLATFORM=offscreen timeout 10 orv-classroom --server ws://127.0.0.1:9 --home /root/classroom >/dev/null 2>&1 || code=$?
[ "$code" -eq 124 ] || fail "orv-classroom has ended by itself: exit code $code"

step "orvnetwork-doc"
install orvnetwork-doc
for file in html/index.html html/page.png docs/hosting.md docs/licences.md examples/minimal.cpp README.md; do
  [ -s "/usr/share/doc/orvnetwork-doc/$file" ] || fail "the documentation has no $file"
done

step "all together, and removed"
install "${packages[@]}"
apt-get --quiet=2 --yes purge "${packages[@]}" >/dev/null
all_files >/tmp/after
diff /tmp/before /tmp/after || fail "something is left, or was taken away"
! dpkg-query --show '*orvnetwork*' 2>/dev/null | grep . || fail "dpkg knows of them still"
