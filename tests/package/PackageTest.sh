#!/bin/bash
# The packages in an empty Debian: they install with what they depend on, the demo runs, the bus policy lets the service's
# user serve and its group ask and nobody else, and removal deletes all their files.
set -euo pipefail
[ "$(id -u)" = 0 ] || { echo "skipped: only root can enter an empty Debian"; exit 77; }
cd "$(dirname "$0")/../.."
scripts/package
root=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; wait; rm -rf "$root" "$root.before"' EXIT
tar -x -C "$root" -f "$(scripts/debian-root)"

inside=(env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive
  DBUS_SYSTEM_BUS_ADDRESS=unix:path=/tmp/bus chroot "$root")
server=("${inside[@]}" setpriv --reuid=tavroline --regid=nogroup --clear-groups)
member=("${inside[@]}" setpriv --reuid=nobody --regid=tavroline --clear-groups)
stranger=("${inside[@]}" setpriv --reuid=nobody --regid=nogroup --clear-groups)
contents() {
  (cd "$root" && find . ! -path './var/cache/*' ! -path './var/log/*' ! -path './etc/*-' ! -path ./run/adduser &&
    cat etc/passwd etc/group) | sort
}

contents >"$root.before"
cp build/release/packages/*.deb "$root/tmp"
"${inside[@]}" sh -c 'apt-get -qq install /tmp/*.deb && rm /tmp/*.deb'
"${inside[@]}" tavroline-demo

sed 's:</policy>:<deny own="*"/><deny send_type="method_call"/><allow send_destination="org.freedesktop.DBus"/>&:
  s:</busconfig>:<includedir>/usr/share/dbus-1/system.d</includedir>&:' desk/dbus/private-bus.conf >"$root/tmp/bus.conf"
"${inside[@]}" dbus-daemon --nofork --config-file=/tmp/bus.conf --address=unix:path=/tmp/bus --print-address >"$root/tmp/up" &
until [ -s "$root/tmp/up" ]; do kill -0 $! && sleep 0.05; done
! "${member[@]}" tavroline-listd || exit 1
"${server[@]}" tavroline-listd >"$root/tmp/serves" &
until [ -s "$root/tmp/serves" ]; do kill -0 $! && sleep 0.05; done
"${member[@]}" tavroline-ctl doctor
! "${stranger[@]}" tavroline-ctl events || exit 1
kill $(jobs -p) && wait && rm -r "$root"/tmp/*

"${inside[@]}" apt-get -qq purge --auto-remove 'tavroline*'
diff "$root.before" <(contents)
