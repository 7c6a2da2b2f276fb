#!/usr/bin/env bash
# The demo's part inside the private namespace: set up the appliance's directories, start the
# log console, then run the service in the foreground. Everything is read before the mounts, in
# case the checkout itself lies under one of the mounted directories.
set -euo pipefail
repo=$1
build=$repo/build/demo
settings=$(cat "$repo/packaging/examples/config-sarvik.xml")
notice=$(cat "$repo/scripts/demo/config-notice.xml")
stub=$(cat "$repo/scripts/demo/notice-stub.sh")
tools=(sarvik-send sarvik-log sarvik-check sarvik-web)
exec 3<"$build/src/sarvik" 4<"$build/tools/sarvik-send" 5<"$build/tools/sarvik-log" \
  6<"$build/tools/sarvik-check" 7<"$build/tools/sarvik-web"
echo $$ >"$repo/build/demo.pid"

for dir in /mnt /tmp /var/lock; do mount -t tmpfs -o mode=0755 tmpfs "$dir"; done
chmod 1777 /tmp
mkdir -p /mnt/data/xmlconf /mnt/data/bin /mnt/data/conf/sarvik /mnt/data/logs /tmp/demo-bin
printf '%s\n' "$settings" >/mnt/data/xmlconf/config-sarvik.xml
printf '%s\n' "$notice" >/mnt/data/xmlconf/config-notice.xml
for script in orl_eventlog.py orl_buzzer.py orl_mailsend.py; do
  printf '%s\n' "$stub" >/mnt/data/bin/$script
  chmod 755 /mnt/data/bin/$script
done
fd=4
for tool in "${tools[@]}"; do
  cat <&$fd >/tmp/demo-bin/$tool
  chmod 755 /tmp/demo-bin/$tool
  fd=$((fd + 1))
done
# The sample settings seal every line: the key is set up before the service starts.
/tmp/demo-bin/sarvik-log --setup-keys >/tmp/demo-bin/verification-key 2>/dev/null

# The console, in the background, on the host's loopback (only the mounts are private). It ends
# with the service when Ctrl-C reaches both.
/tmp/demo-bin/sarvik-web --state-dir /tmp/demo-web >/tmp/demo-web.log 2>&1 &
for _ in $(seq 50); do
  grep -q 'listening on' /tmp/demo-web.log 2>/dev/null && break
  sleep 0.1
done
url=$(/tmp/demo-bin/sarvik-web --url --state-dir /tmp/demo-web 2>&1) || url="(not started: $(cat /tmp/demo-web.log))"

cat <<MSG
sarvik runs in the foreground (pid $$) on /mnt/data/xmlconf/config-sarvik.xml; Ctrl-C stops it.
The log console: open $url
In a second terminal, in the checkout, send records, ask sarvik-log, look at the files:
  scripts/in-demo.sh sarvik-send system "\$(date +%s)" hello from-the demo
  scripts/in-demo.sh sarvik-send access alice pc1 192.0.2.7 open 1 0 docs 'r|report.txt'
  scripts/in-demo.sh sarvik-log --user alice --output json
  scripts/in-demo.sh sh -c 'tail -n +1 /mnt/data/logs/*/*/*.csv'
The access line fires the rule "docs-reads": about 60 seconds later (59 to 61) the stub scripts
print the alert's event-log, buzzer and mail requests here, then one event-log record per address.
Every line is sealed; change one and see it found (the verification key is in /tmp/demo-bin):
  scripts/in-demo.sh sarvik-log --verify --root /mnt/data/logs --key /tmp/demo-bin/verification-key
----------------------------------------------------------------------------------------------
MSG
exec /proc/self/fd/3
