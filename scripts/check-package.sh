#!/usr/bin/env bash
# Builds the Debian package from the release tree and checks it: lintian without errors, the
# expected files with their modes and owners, a unit that systemd-analyze accepts, and a
# changelog of the package's version.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh build/release -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null

out=build/release/package
rm -rf "$out"
if ! log=$(cpack -G DEB -B "$out" --config build/release/CPackConfig.cmake 2>&1); then
  echo "$log" >&2
  exit 1
fi
debs=("$out"/*.deb)
[ ${#debs[@]} -eq 1 ] || { echo "check-package: expected one package in $out" >&2; exit 1; }
deb=${debs[0]}
echo "Built $deb."

failures=0
fail() {
  echo "check-package: $*" >&2
  failures=$((failures + 1))
}

echo "--- lintian (errors fail, warnings and notes are listed)"
lintian_status=0
tags=$(lintian --fail-on error --display-info --tag-display-limit 0 "$deb" 2>&1) || lintian_status=$?
grep -v '^running with root privileges' <<<"$tags" || true
[ $lintian_status -eq 0 ] || fail "lintian reports errors"
# The binaries are built with the distribution's hardening flags: any hardening tag is a fault.
if grep -q 'hardening-' <<<"$tags"; then
  fail "lintian reports binaries without the distribution's hardening"
fi

echo "--- dependencies"
# The libraries found by dpkg-shlibdeps, among them those of sealing, and the named ones.
depends=$(dpkg-deb -f "$deb" Depends)
echo "Depends: $depends"
for needed in libsodium23 libnettle8 procps; do
  grep -qE "(^|, )$needed( |,|$)" <<<"$depends" || fail "the package does not depend on $needed"
done

echo "--- contents"
listing=$(dpkg-deb -c "$deb")
# mode_of <path below the root>: the mode string of that entry in the package, or nothing.
mode_of() { awk -v path="./$1" '$6 == path { print $1 }' <<<"$listing"; }
expect() {  # <mode string> <path>...
  local mode=$1 path
  shift
  for path in "$@"; do
    local actual
    actual=$(mode_of "$path")
    if [ -z "$actual" ]; then
      fail "missing: /$path"
    elif [ "$actual" != "$mode" ]; then
      fail "/$path has mode $actual, expected $mode"
    fi
  done
}
expect -rwxr-xr-x usr/sbin/sarvik usr/sbin/sarvik-check usr/bin/sarvik-send usr/bin/sarvik-log \
  usr/bin/sarvik-forwarding usr/bin/sarvik-web
expect -rw-r--r-- usr/lib/systemd/system/sarvik.service \
  usr/lib/systemd/system/sarvik-forwarding.service usr/lib/systemd/system/sarvik-web.service \
  usr/lib/systemd/system/sarvik-log-index.service usr/lib/systemd/system/sarvik-log-index.timer \
  usr/share/doc/sarvik/examples/rsyslog/sarvik-sender.conf \
  usr/share/doc/sarvik/examples/rsyslog/sarvik-collector.conf \
  usr/share/doc/sarvik/copyright usr/share/doc/sarvik/changelog.gz \
  usr/share/doc/sarvik/README.md \
  usr/share/doc/sarvik/examples/config-sarvik.xml usr/share/doc/sarvik/examples/config-notice.xml
for page in packaging/man/*.[1-8]; do
  name=$(basename "$page")
  expect -rw-r--r-- "usr/share/man/man${name##*.}/$name.gz"
done
awk '$2 != "root/root" { print "check-package: not owned by root: " $6 }' <<<"$listing" |
  grep . >&2 && fail "entries not owned by root"
awk '$1 ~ /^d/ && $1 != "drwxr-xr-x" { print "check-package: directory mode " $1 ": " $6 }' \
  <<<"$listing" | grep . >&2 && fail "directories with another mode than 0755"

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
dpkg -x "$deb" "$root"
unit=$root/usr/lib/systemd/system/sarvik.service

# The daemon is an argument of stdbuf, so systemd-analyze does not look for it: check it here.
daemon=$(sed -n 's/^ExecStart=.* \(\/[^ ]*\)$/\1/p' "$unit")
[ "$daemon" = /usr/sbin/sarvik ] || fail "the unit starts '$daemon', not /usr/sbin/sarvik"
[ -x "$root$daemon" ] || fail "the unit's daemon $daemon is not in the package"
# The index unit runs sarvik-log through nice, so systemd-analyze does not look for it either.
index_tool=$(sed -n 's/^ExecStart=.*nice -n [0-9]* \([^ ]*\) .*/\1/p' \
  "$root/usr/lib/systemd/system/sarvik-log-index.service")
[ "$index_tool" = /usr/bin/sarvik-log ] && [ -x "$root$index_tool" ] ||
  fail "the index unit runs '$index_tool', not the package's /usr/bin/sarvik-log"
# sarvik-log finds its settings module below its own prefix.
module=$(find "$root/usr/lib" -name sarvik-log-settings.so -printf '%P\n')
case $module in
  */sarvik/sarvik-log-settings.so) ;;
  *) fail "sarvik-log's settings module is not in a private directory below /usr/lib: '$module'" ;;
esac
ldd "$root/usr/bin/sarvik-log" | grep -q 'libxml' &&
  fail "sarvik-log names the XML libraries: it would load them for every question"

changelog=$root/changelog
zcat "$root/usr/share/doc/sarvik/changelog.gz" >"$changelog"
version=$(dpkg-deb -f "$deb" Version)
logged=$(dpkg-parsechangelog -l "$changelog" -S Version)
[ "$logged" = "$version" ] || fail "the changelog's latest version is $logged, the package's $version"

echo "--- systemd-analyze verify"
# systemd-analyze looks for the program of ExecStart on this machine: the console's unit is
# checked as a copy that names the program in the unpacked package.
web_unit=$root/usr/lib/systemd/system/sarvik-web.service
grep -qx 'ExecStart=/usr/bin/sarvik-web' "$web_unit" || fail "the console's unit does not start /usr/bin/sarvik-web"
web_checked=$(mktemp -d)/sarvik-web.service
sed "s|^ExecStart=/usr/bin/sarvik-web|ExecStart=$root/usr/bin/sarvik-web|" "$web_unit" >"$web_checked"
# Its documentation check runs man, which finds the package's pages through MANPATH.
for checked in "$unit" "$root"/usr/lib/systemd/system/sarvik-{forwarding,log-index}.service \
  "$root/usr/lib/systemd/system/sarvik-log-index.timer" "$web_checked"; do
  if ! verdict=$(MANPATH=$root/usr/share/man systemd-analyze verify "$checked" 2>&1) ||
    [ -n "$verdict" ]; then
    echo "$verdict" >&2
    fail "systemd-analyze verify does not accept $(basename "$checked")"
  fi
done
rm -r "$(dirname "$web_checked")"

if [ $failures -ne 0 ]; then
  echo "check-package: $failures problem(s) in $deb" >&2
  exit 1
fi
echo "Package checked: $deb"
