#!/usr/bin/env bash
# Sends a trace to dump_trace and compares what it writes: dump_trace_test.sh SEND_PARTS DUMP_TRACE PROTOC WORK
set -euo pipefail
send_parts=$1 dump_trace=$2 protoc=$3 work=$4

mkdir -p "$work"
cd "$(dirname "$0")"
"$protoc" -I ../proto --encode=tarnwick.rpc.codetrace.v1.NotifyRequest \
    tarnwick/rpc/codetrace/v1/notify_request.proto <dump_trace.txtpb >"$work/header"
printf 'small' >"$work/small"
: >"$work/empty"
cp "$dump_trace" "$work/large"
head -c 40000000 /dev/zero >>"$work/large"
# The path of a socket is limited to about a hundred characters.
cd "$work"
endpoint=ipc://dump_trace.socket

failed=0
# check NAME STATUS PART...: sends these parts and compares the status; the results are in `dump` and `messages`.
check() {
    local name=$1 expected=$2 sender status=0
    shift 2
    rm -f dump
    "$send_parts" "$endpoint" "$@" &
    sender=$!
    "$dump_trace" "$endpoint" dump 2>messages || status=$?
    [ "$status" -eq 0 ] || kill "$sender" 2>/dev/null || true
    wait "$sender" || true
    [ "$status" -eq "$expected" ] || { echo "$name: status $status"; cat messages; failed=1; }
}

check 'a trace' 0 header small empty large small
printf 'CT\1\2\0\0\0\2\0\0\0\010\0\0\0\014\0\0\0\020\0\0\0\0\0\0\0\0\0\0\0\030\0\0\0\0\0\0\0\040' >expected
cat small empty large small >>expected
cmp expected dump || failed=1

check 'a header without a chunk' 0 header
cmp <(head -c 40 expected) dump || failed=1

check 'no header' 1 small small
grep -qx 'the first part is no header of a trace' messages || { cat messages; failed=1; }
exit "$failed"
