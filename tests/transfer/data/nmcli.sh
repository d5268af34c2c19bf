#!/bin/sh
# Stands in for nmcli: records how it is called, reports the state it is given.
echo "$*" >> "$FAKE_NMCLI_LOG"
[ "$1" = -t ] && echo "$FAKE_NMCLI_STATE"
exit 0
