#!/usr/bin/env bash
# Sends messages to receive_reports and compares what it prints:
# receive_reports_test.sh SEND_PARTS RECEIVE_REPORTS PROTOC WORK
set -euo pipefail
send_parts=$1 receive_reports=$2 protoc=$3 work=$4

mkdir -p "$work"
cd "$(dirname "$0")"
encode() { # FAMILY
    "$protoc" -I ../proto --encode="tarnwick.rpc.$1.v1.NotifyRequest" "tarnwick/rpc/$1/v1/notify_request.proto"
}
encode codetrace <dump_trace.txtpb >"$work/header"
printf 'request_id { id: 7 } rshutdown { response { status: 404 } }' | encode php >"$work/end"
printf 'request_id { id: 7 }' | encode php >"$work/unknown"
# PHP arrays nested a hundred levels deep, which takes three times as many messages.
{
    printf 'request_id { id: 8 } rinit { superglobals {'
    for _ in {1..100}; do printf ' elements { string_key: "k" value { array_value {'; done
    for _ in {1..100}; do printf ' } } }'; done
    printf ' } }'
} | encode php >"$work/deep"
printf 'small' >"$work/small"
printf '\377' >"$work/malformed"
# The path of a socket is limited to about a hundred characters.
cd "$work"
endpoint=ipc://receive_reports.socket

status=0
"$receive_reports" "$endpoint" 7 >printed 2>messages &
receiver=$!
trap 'kill "$receiver" 2>/dev/null || true' EXIT
for message in end malformed 'small small small' unknown 'header small small' deep end; do
    # shellcheck disable=SC2086
    "$send_parts" "$endpoint" $message
done
wait "$receiver" || status=$?
[ "$status" -eq 1 ] || { echo "status $status"; exit 1; }
diff -u - messages <<'TEXT'
refused a message: it is not a report
refused a message: it is not a report
refused a message: its report is of an unknown kind
TEXT
sed 's/{.*//' printed | diff -u - <(printf '%s\n' php.RShutdown codetrace.Header codetrace.Data codetrace.Data \
    php.RInit php.RShutdown)
grep -qx 'php.RShutdown{request_id: 7, .* response_status: 404, .*' printed
