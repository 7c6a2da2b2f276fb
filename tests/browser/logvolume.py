"""A generated log volume for the browser tests: the three logs over the last days, in the
service's own file layout, with the hostile records a client may send, and settings with two
alert rules."""

import datetime
import os
import random

BOM = b"\xef\xbb\xbf"

# Paths that a hostile client sends: markup that would run if a page used it as HTML, and a
# terminal escape sequence.
HOSTILE_MARKUP = "<img src=x onerror=alert(1)>"
HOSTILE_ESCAPE = "reports/\x1b[31mred\x1b[0m\u202etxt.exe"

USERS = ["alice", "bob", "carol", "dave"]
HOSTS = ["pc1", "pc2", "laptop-7", "srv-backup"]
SHARES = ["docs", "finance", "public"]
OPS = ["open_read", "open_read", "open_write", "delete", "rename", "mkdir"]
PATHS = ["reports/q3.xlsx", "reports/q1,q2.txt", "notes.txt", "plans/2025/budget.ods",
         "photos/team.jpg", "a,b,c.txt", "archive/old.zip"]

SETTINGS = """<?xml version="1.0" encoding="UTF-8"?>
<config>
  <share><path>{volume}</path></share>
  <eventlogconf enable="true"><autodelete enable="false"/></eventlogconf>
  <accesslogconf enable="true">
    <sharelist all="true"/>
    <autodelete enable="false"/>
  </accesslogconf>
  <alertlist>
    <alert>
      <name>docs-reads</name>
      <period not="false">
        <weekdays sun="true" mon="true" tue="true" wed="true" thu="true" fri="true" sat="true"/>
        <from><hour>0</hour><minute>0</minute></from>
        <to><hour>0</hour><minute>0</minute></to>
      </period>
      <usernamelist all="false" not="false"><username>alice</username></usernamelist>
      <hostname not="false">*</hostname>
      <result>ok</result>
      <sharename>docs</sharename>
      <path>*.txt</path>
      <operationlist>
        <operation type="open_read" enable="true"/>
      </operationlist>
    </alert>
    <alert>
      <name>deletes</name>
      <period not="false">
        <weekdays sun="true" mon="true" tue="true" wed="true" thu="true" fri="true" sat="true"/>
        <from><hour>0</hour><minute>0</minute></from>
        <to><hour>0</hour><minute>0</minute></to>
      </period>
      <usernamelist all="true" not="false"/>
      <hostname not="false">*</hostname>
      <result></result>
      <sharename></sharename>
      <path></path>
      <operationlist>
        <operation type="delete" enable="true"/>
      </operationlist>
    </alert>
  </alertlist>
</config>
"""


def write_settings(path, volume):
    with open(path, "w", encoding="utf-8") as out:
        out.write(SETTINGS.format(volume=volume))


def stamp(moment):
    return moment.strftime("%Y/%m/%d %H:%M:%S")


def write_log(volume, kind, first, lines):
    """Writes one log file of `kind` whose first line is at `first`, as the service names it."""
    directory = os.path.join(volume, kind + "log", first.strftime("%Y%m"))
    os.makedirs(directory, exist_ok=True)
    name = "%s_%s.csv" % (kind, first.strftime("%Y%m%d%H%M%S"))
    with open(os.path.join(directory, name), "wb") as out:
        out.write(BOM)
        for line in lines:
            out.write(line.encode("utf-8") + b"\r\n")


def access_line(moment, user, host, ip, op, result, share, path):
    return ",".join([stamp(moment), user, host, ip, op, result, share, path])


def fires_docs_reads(user, op, result, share, path):
    return (user == "alice" and op == "open_read" and result == "ok" and share == "docs"
            and path.lower().endswith(".txt"))


def generate(volume, days=9, seed=22):
    """Writes `days` days of logs ending yesterday below `volume`: a file per day and log, the
    access lines of each day in time order, two hostile records on the last day. The lines that
    fire a rule are in the alert log too."""
    rng = random.Random(seed)
    today = datetime.datetime.now().replace(hour=0, minute=0, second=0, microsecond=0)
    for back in range(days, 0, -1):
        day = today - datetime.timedelta(days=back)
        count = 20 + rng.randrange(40)
        moments = sorted(day + datetime.timedelta(seconds=rng.randrange(86400))
                         for _ in range(count))
        access, alerts = [], []
        for index, moment in enumerate(moments):
            user, host = rng.choice(USERS), rng.choice(HOSTS)
            ip = "192.0.2.%d" % (10 + HOSTS.index(host))
            op, share, path = rng.choice(OPS), rng.choice(SHARES), rng.choice(PATHS)
            result = "ok" if rng.random() < 0.85 else "fail (Permission denied)"
            if back == 1 and index == count - 2:
                user, share, path, result = "mallory", "public", HOSTILE_MARKUP, "ok"
            if back == 1 and index == count - 1:
                user, share, path, result = "mallory", "public", HOSTILE_ESCAPE, "ok"
            line = access_line(moment, user, host, ip, op, result, share, path)
            access.append(line)
            brief = "ok" if result == "ok" else "fail"
            if fires_docs_reads(user, op, brief, share, path) or op == "delete":
                alerts.append(line)
        write_log(volume, "access", moments[0], access)
        if alerts:
            write_log(volume, "alert", moments[0], alerts)
        system = []
        for hour in (3, 9, 15, 21):
            moment = day + datetime.timedelta(hours=hour, minutes=rng.randrange(60))
            system.append(",".join([stamp(moment), "disk", "check",
                                    "volume %d%% full" % rng.randrange(30, 90)]))
        write_log(volume, "system", day + datetime.timedelta(hours=3), system)
