#!/usr/bin/env bash
# Writes the service's settings for one benchmark variant to standard output:
#   settings.sh none|rules100|expiry|fire|seal
# Every variant logs all shares and both logs on /mnt/data/logs.
#   none      no alert rules, no expiry
#   rules100  100 rules of which none fires for the benchmark's record (a quarter each fail at
#             the weekday, the user list, the operation and the path, the last test)
#   expiry    expiry enabled for both logs with a free-space gate of 5 %, closed on an empty
#             volume: every line costs the statfs of the gate
#   fire      one rule that fires on every record: each record is also written to the alert log
#             and queued for the alert thread
#   seal      no rules, no expiry, every line sealed (hardening/seal; the runner sets up the key)
set -euo pipefail
variant=$1

all_days='<weekdays sun="true" mon="true" tue="true" wed="true" thu="true" fri="true" sat="true"/>'
# rule NAME PERIOD USERS OPERATION EXTRA
rule() {
  printf '<alert><name>%s</name><period>%s</period>%s%s<operationlist>%s</operationlist></alert>' \
    "$1" "$2" "$3" "$5" "$4"
}
open_read='<operation type="open_read" enable="true"/><operation type="write" enable="true"/>'
alerts=""
hardening=""
autodelete='<autodelete enable="false"><expire><days>30</days><percent>5</percent></expire></autodelete>'
case $variant in
  none) ;;
  rules100)
    for i in $(seq 0 99); do
      case $((i % 4)) in
        0) alerts+=$(rule "weekday$i" '<weekdays/>' '<usernamelist all="true"/>' "$open_read" '') ;;
        1) alerts+=$(rule "user$i" "$all_days" \
             "<usernamelist><username>Bob$i</username><username>Carol</username><username>Dave</username></usernamelist>" \
             "$open_read" '') ;;
        2) alerts+=$(rule "operation$i" "$all_days" '<usernamelist all="true"/>' \
             '<operation type="delete" enable="true"/><operation type="rename" enable="true"/>' '') ;;
        3) alerts+=$(rule "path$i" "$all_days" '<usernamelist all="true"/>' "$open_read" \
             "<hostname>pc*</hostname><sharename>docs</sharename><path>*secret$i*</path>") ;;
      esac
    done
    ;;
  expiry)
    autodelete='<autodelete enable="true"><expire><days>30</days><percent>5</percent></expire></autodelete>'
    ;;
  fire)
    alerts=$(rule "every-open" "$all_days" '<usernamelist all="true"/>' "$open_read" '')
    ;;
  seal)
    hardening='<hardening><seal enable="true"/></hardening>'
    ;;
  *)
    echo "settings.sh: unknown variant $variant" >&2
    exit 2
    ;;
esac

cat <<XML
<?xml version="1.0" encoding="UTF-8"?>
<config>
  <share><path>/mnt/data/logs</path></share>
  <eventlogconf enable="true">$autodelete</eventlogconf>
  <accesslogconf enable="true">
    <sharelist all="true"><share><name>docs</name></share></sharelist>
    $autodelete
  </accesslogconf>
  <alertlist>$alerts</alertlist>
  $hardening
</config>
XML
