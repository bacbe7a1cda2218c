#!/bin/sh
# Proves the stand-in that plays recorded event records to the service, with a probe that receives them as the service
# does. Runs in a ready Wine prefix of its own, kept alive by the caller; OVS_BIN is the folder of the Windows programs.
set -eu
: "${OVS_BIN:?}" "${WINEPREFIX:?}"
work=$(mktemp -d "$WINEPREFIX/standin.XXXXXX")
probe_pid=

cleanup() {
  [ -z "$probe_pid" ] || kill "$probe_pid" 2>/dev/null || true
  run standin-setup unregister >/dev/null 2>&1 || true
  rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 1' INT TERM

failures=0
run() { program=$1; shift; timeout 60 wine "$OVS_BIN/$program.exe" "$@" </dev/null; }
windows() { timeout 20 winepath -w "$1" 2>/dev/null; }

# expect NAME WANTED_STATUS COMMAND... compares output (less carriage returns) with standard input.
expect() {
  name=$1 wanted=$2
  shift 2
  cat >"$work/wanted"
  status=0
  "$@" >"$work/raw" 2>&1 || status=$?
  tr -d '\r' <"$work/raw" >"$work/got"
  if [ "$status" = "$wanted" ] && cmp -s "$work/wanted" "$work/got"; then
    echo "ok: $name"
    return
  fi
  echo "FAILED: $name (exit code $status, wanted $wanted)"
  diff "$work/wanted" "$work/got" | sed 's/^/    /' || true
  failures=$((failures + 1))
}

# feed NAME: makes standard input a feed and the stand-in play it.
feed() {
  cat >"$work/$1"
  run standin-setup --feed "$(windows "$work")\\$1" >/dev/null
}
progress() { cat "$work/$1.count"; }

# Waits until the feed's progress line is the wanted one; the deadline ends it otherwise.
await() {
  end=$(($(date +%s) + 30))
  until [ "$(cat "$work/$1.count" 2>/dev/null)" = "$2" ]; do
    [ "$(date +%s)" -lt "$end" ] || return 1
    sleep 0.05
  done
  cat "$work/$1.count"
}

moniker_class() { timeout 20 wine reg query 'HKCR\winmgmts\CLSID' /ve </dev/null 2>/dev/null | tr -d '\r'; }
run standin-setup unregister >/dev/null
moniker_class >"$work/class-before"
run standin-setup register --fail-query 0 --fail-connect 0 >/dev/null

feed typed <<'EOF'
{"EventType": 3, "Type": "Information", "EventCode": "10", "SourceName": "A Source", "Message": "one\r\ntwo\u0000 end", "Logfile": "System", "TimeGenerated": "20230719160310.883000-000", "Other": [1]}
{"EventType": 1, "Type": "Fehler – größer", "EventCode": 4294967295, "SourceName": "例", "Message": "\ud83d\ude00", "Logfile": "", "TimeGenerated": null}
{"EventType": "x", "EventCode": "007x", "Message": {"date": 2.5}, "Type": {"object": true}, "SourceName": 1.5, "Logfile": true}
{"EventType": 300, "EventCode": -5}
EOF
expect 'values are typed as the real service types them' 0 run wmiprobe --count 4 <<'EOF'
EventType byte 3 | Type text "Information" | EventCode int 10 | SourceName text "A Source" | Message text "one\x0D\x0Atwo\x00 end" | Logfile text "System" | TimeGenerated text "20230719160310.883000-000"
EventType byte 1 | Type text "Fehler – größer" | EventCode text "4294967295" | SourceName text "例" | Message text "😀" | Logfile text "" | TimeGenerated null
EventType text "x" | Type object | EventCode text "007x" | SourceName real 1.500000 | Message date 2.500000 | Logfile true | TimeGenerated null
EventType int 300 | Type null | EventCode int -5 | SourceName null | Message null | Logfile null | TimeGenerated null
EOF
expect 'progress of a played feed' 0 progress typed <<'EOF'
delivered 4 skipped 0 failed 0 calls 4
EOF
expect 'a new subscription starts with the first record' 0 run wmiprobe <<'EOF'
EventType byte 3 | Type text "Information" | EventCode int 10 | SourceName text "A Source" | Message text "one\x0D\x0Atwo\x00 end" | Logfile text "System" | TimeGenerated text "20230719160310.883000-000"
EOF

nulls='| Type null | EventCode null | SourceName null | Message null | Logfile null | TimeGenerated null'
feed broken <<'EOF'
{"EventType": 1}
no JSON

[1]
{"Nothing": 1}
{"EventType": 1, "Message": "\ud800 alone"}
{"standin": "unknown"}
{"standin": "fail-property", "name": "Nothing"}
{"standin": "fail-nextevent", "hresult": 0}
{"EventType": 2}
EOF
expect 'broken lines are passed over' 0 run wmiprobe --count 2 <<EOF
EventType byte 1 $nulls
EventType byte 2 $nulls
EOF
expect 'broken lines are counted' 0 progress broken <<'EOF'
delivered 2 skipped 8 failed 0 calls 2
EOF

printf '{"EventType": 1}\n{"EventType": 2' | feed grows
expect 'a line without its end is not taken' 1 run wmiprobe --count 2 --timeout 150 <<EOF
EventType byte 1 $nulls
NextEvent failed: 0x80020009, 0x80043001 from SWbemEventSource: Stand-in: no record in time
EOF
run wmiprobe --count 3 >"$work/probe.out" 2>&1 &
probe_pid=$!
expect 'the probe waits for the rest' 0 await grows 'delivered 1 skipped 0 failed 0 calls 2' <<'EOF'
delivered 1 skipped 0 failed 0 calls 2
EOF
printf '}\n' >>"$work/grows"
expect 'the completed line arrives, and the probe waits again' 0 await grows \
  'delivered 2 skipped 0 failed 0 calls 3' <<'EOF'
delivered 2 skipped 0 failed 0 calls 3
EOF
printf '{"EventType": 3}\n' >>"$work/grows"
expect 'the probe ends after the appended record' 0 wait "$probe_pid" </dev/null
probe_pid=
expect 'records that arrived while the probe waited' 0 cat "$work/probe.out" <<EOF
EventType byte 1 $nulls
EventType byte 2 $nulls
EventType byte 3 $nulls
EOF

rm "$work/grows"
run wmiprobe >"$work/probe.out" 2>&1 &
probe_pid=$!
expect 'a feed that is missing is waited for' 0 await grows 'delivered 0 skipped 0 failed 0 calls 1' <<'EOF'
delivered 0 skipped 0 failed 0 calls 1
EOF
printf '{"EventType": 4}\n' >"$work/grows"
expect 'its first record ends the probe' 0 wait "$probe_pid" </dev/null
probe_pid=

feed faults <<'EOF'
{"standin": "fail-nextevent", "hresult": -2147217392}
{"EventType": 1}
{"standin": "fail-property", "name": "Message"}
{"standin": "fail-property", "name": "EventType", "hresult": -2147024882}
{"EventType": 2}
{"EventType": 3}
EOF
expect 'faults as ordered, once each' 0 run wmiprobe --count 4 --go-on <<EOF
NextEvent failed: 0x80020009, 0x80041010 from SWbemEventSource: Stand-in: this NextEvent was ordered to fail
EventType byte 1 $nulls
EventType EventType failed: 0x80020009, 0x8007000E from SWbemObjectEx: Stand-in: this property was ordered to fail | Type null | EventCode null | SourceName null | Message Message failed: 0x80020009, 0x80041001 from SWbemObjectEx: Stand-in: this property was ordered to fail | Logfile null | TimeGenerated null
EventType byte 3 $nulls
EOF
expect 'faults are counted' 0 progress faults <<'EOF'
delivered 3 skipped 0 failed 1 calls 4
EOF
run standin-setup --fail-query 1 >/dev/null
expect 'a query that fails' 1 run wmiprobe <<'EOF'
ExecNotificationQuery failed: 0x80020009, 0x80041003 from SWbemServicesEx: Stand-in: the query was ordered to fail
EOF
run standin-setup --fail-query 0 --fail-connect 1 >/dev/null
expect 'a connection that fails' 1 run wmiprobe <<'EOF'
GetObject failed: 0x80041003
EOF
run standin-setup --fail-connect 0 >/dev/null
expect 'another query is refused' 1 run wmiprobe --query 'select * from __InstanceCreationEvent' <<'EOF'
ExecNotificationQuery failed: 0x80020009, 0x80041017 from SWbemServicesEx: Stand-in: invalid query
EOF
expect 'another moniker is refused' 1 run wmiprobe --moniker 'winmgmts:\\.\root\cimv2' <<'EOF'
GetObject failed: 0x80041021
EOF

run standin-setup unregister >/dev/null
expect 'the prefix is as it was before' 0 moniker_class <"$work/class-before"

echo "$failures failed"
[ "$failures" = 0 ]
