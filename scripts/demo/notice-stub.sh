#!/bin/sh
# Stands in for one of the appliance's notice scripts in the demo: prints the request it got on
# its standard input to the demo's terminal and answers that all went well.
request=$(cat)
printf '[%s] %s\n' "$(basename "$0")" "$request" >&2
printf '<response><entrylist><entry result="0"/></entrylist></response>\n'
