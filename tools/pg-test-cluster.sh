#!/usr/bin/env bash
# A throwaway PostgreSQL cluster for the event-database tests, on loopback,
# with its files under a build directory.
#   tools/pg-test-cluster.sh start DIR    prints the database URI to use
#   tools/pg-test-cluster.sh stop DIR
# The server refuses to run as root, so as root the cluster belongs to the
# "postgres" user that Debian's package creates.
set -euo pipefail
action="$1"
dir="$(realpath -m "$2")/pgtest"
bin=$(ls -d /usr/lib/postgresql/*/bin | sort -V | tail -1)
port="${KGRQT_PG_PORT:-55432}"
as_owner() {
    if [ "$(id -u)" -eq 0 ]; then
        runuser -u postgres -- "$@"
    else
        "$@"
    fi
}
case "$action" in
start)
    if [ ! -f "$dir/data/PG_VERSION" ]; then
        rm -rf "$dir"
        mkdir -p "$dir"
        [ "$(id -u)" -eq 0 ] && chown postgres: "$dir"
        as_owner "$bin/initdb" -D "$dir/data" -U kgrqt --auth=trust -E UTF8 >"$dir/initdb.log"
    fi
    as_owner "$bin/pg_ctl" -D "$dir/data" -l "$dir/server.log" -w -t 30 \
        -o "-c listen_addresses=127.0.0.1 -c port=$port -c unix_socket_directories='$dir' -c fsync=off" \
        start >/dev/null
    as_owner "$bin/createdb" -h 127.0.0.1 -p "$port" -U kgrqt kgrqt_test 2>/dev/null || true
    echo "postgresql://kgrqt@127.0.0.1:$port/kgrqt_test"
    ;;
stop)
    [ -d "$dir/data" ] && as_owner "$bin/pg_ctl" -D "$dir/data" -m fast -w stop >/dev/null || true
    ;;
*)
    echo "usage: $0 start|stop DIR" >&2
    exit 2
    ;;
esac
