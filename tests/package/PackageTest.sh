#!/bin/bash
# The packages in an empty Debian with the system bus and without systemd, as a table of steps in their order.
set -euo pipefail
unshare --mount --pid true 2>/dev/null || { echo "skipped: only root can enter an empty Debian"; exit 77; }
cd "$(dirname "$0")/../.."
[ $# -gt 0 ] || scripts/package
[ $# -gt 0 ] || exec unshare --mount --pid --mount-proc --fork --kill-child bash "$0" "$(scripts/debian-root)"
root=$(mktemp -d)
trap 'kill $(jobs -p) && wait; umount "$root/proc"; rm -rf "$root" "$root".*' EXIT
tar -x -C "$root" -f "$1"
mount -t proc proc "$root/proc"

inside=(env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive chroot "$root")
server=("${inside[@]}" setpriv --reuid=tavroline --regid=nogroup --clear-groups)
member=("${inside[@]}" setpriv --reuid=nobody --regid=tavroline --clear-groups)
reader=("${inside[@]}" setpriv --reuid=nobody --regid=tavroline-readers --clear-groups)
stranger=("${inside[@]}" setpriv --reuid=nobody --regid=nogroup --clear-groups)
contents() {
  (cd "$root" && find . -path ./proc -prune -o ! -path './var/cache/*' ! -path './var/log/*' ! -path './etc/*-' \
    ! -path ./run/adduser -print && cat etc/passwd etc/group) | sort
}
step() { echo "-- $1"; "${@:2}" || { echo "FAILED: $1"; exit 1; }; }
fails() { ! "$@"; }
is_told_the_group() { [[ $("$@" 2>&1) = *"join the group that its policy allows"*tavroline ]]; }
# The service's process, empty if it does not run; does not start it.
service() {
  "${inside[@]}" dbus-send --system --print-reply=literal --dest=org.freedesktop.DBus / \
    org.freedesktop.DBus.GetConnectionUnixProcessID string:org.tavroline.ListService1 2>&1 | sed -n 's/^ *uint32 //p'
}
list() { "${member[@]}" tavroline-ctl events --json --count 0; }
has_kept_lists() { list >"$root.kept" && cmp "$root.lists" "$root.kept"; }
is_replaced() { [ "$(service)" ] && [ "$(service)" != "$old" ]; }
has_symbols() {
  id=$(readelf -n "$root"/usr/lib/*/tavroline/libTavroline.so | sed -n 's/.*Build ID: //p')
  [[ $(readelf -S "$root/usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug") = *debug_info* ]]
}
tells_systemd() {
  python3 - "$root/tmp/notices" "${inside[@]:0:4}" NOTIFY_SOCKET=/tmp/notices WATCHDOG_USEC=200000 "${server[@]:4}" <<'END'
import os, socket, subprocess, sys
(notices := socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)).bind(sys.argv[1])
os.chmod(sys.argv[1], 0o666)
notices.settimeout(5)
service = subprocess.Popen([*sys.argv[2:], "tavroline-listd"])
assert [notices.recv(99) for _ in range(3)] == [b"READY=1", b"WATCHDOG=1", b"WATCHDOG=1"]
service.terminate()
END
}

"${inside[@]}" apt-get -qq install dbus && mkdir "$root/run/dbus"
"${inside[@]}" dbus-daemon --system --nofork --nopidfile --print-address >"$root.bus" &
until [ -s "$root.bus" ]; do kill -0 $! && sleep 0.05; done
contents >"$root.before"
cp build/release/packages/*.deb "$root/tmp"

step "packages install" "${inside[@]}" sh -c 'apt-get -qq install /tmp/*.deb'
step "demo on a private bus" "${inside[@]}" tavroline-demo
step "debug symbols of the library" has_symbols
step "only the service's user serves" fails "${member[@]}" tavroline-listd
step "ready, and a watchdog's notices" tells_systemd
step "a member's call starts the service" "${member[@]}" tavroline-ctl stats
step "a reader may not log" is_told_the_group "${reader[@]}" tavroline-ctl log note
step "completion" "${inside[@]}" bash -c '. /usr/share/bash-completion/completions/tavroline-ctl
  COMP_WORDS=(tavroline-ctl rai) COMP_CWORD=1 && _tavroline_ctl && [ "${COMPREPLY[*]}" = raise ]'
step "a stranger may not ask" fails "${stranger[@]}" tavroline-ctl events
step "a program fills the lists" "${inside[@]}" sh -c 'cd /usr/lib/*/tavroline && tavroline-host lib*.so'
list >"$root.lists"
old=$(service) && kill -9 "$old"
step "lists kept after kill -9" has_kept_lists
step "a new service after kill -9" is_replaced
old=$(service)
step "the same packages as an upgrade" "${inside[@]}" sh -c 'dpkg -i /tmp/tavroline-desk_*.deb && rm /tmp/*'
step "a new service after the upgrade" is_replaced
step "lists kept after the upgrade" has_kept_lists
user=$(stat -c %u "$root/var/lib/tavroline")
echo tavroline-ctl stats >>"$root/var/lib/dpkg/info/tavroline-desk.prerm"
step "purge, with a call after prerm" "${inside[@]}" apt-get -qq purge --auto-remove 'tavroline*'
step "no process of the deleted user" fails grep -q . <(find /proc -maxdepth 1 -user "$user")
step "nothing left" diff "$root.before" <(contents)
