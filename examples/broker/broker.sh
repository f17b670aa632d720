#!/usr/bin/env bash
# broker [COUNT]    carries COUNT messages (3000 if none is told) over a RabbitMQ of its own
#
# Starts a broker on loopback, with a node name, ports, cookie and data in a directory that goes away
# again, and a receiver and a sender beside it. While messages are under way the broker is stopped and
# started once. Passes if every message arrived, none twice without a mark, and every unreadable one
# stands among the dead letters. What was started is stopped, whatever happens.
set -euo pipefail

programs=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
server=/usr/lib/rabbitmq/bin/rabbitmq-server
count=${1-3000}
if [ $# -gt 1 ] || ! [[ $count =~ ^[1-9][0-9]{2,5}$ ]]; then
    echo "usage: broker [COUNT], from 100 to 999999" >&2
    exit 2
fi
if ! [ -x "$server" ]; then
    echo "RabbitMQ is not installed: Debian's package is rabbitmq-server" >&2
    exit 2
fi

work=$(mktemp -d)
server_pid='' epmd_pid='' receiver_pid='' sender_pid=''

# stop PID: ends a process started here, which leads a group, and waits for it; where it doesn't listen,
# the whole group goes.
stop() {
    local pid=$1 turn
    [ -n "$pid" ] || return 0
    kill -TERM "$pid" 2>/dev/null || true
    for ((turn = 0; turn < 300; ++turn)); do
        kill -0 "$pid" 2>/dev/null || break
        sleep 0.1
    done
    kill -KILL -- "-$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
}

clean_up() {
    local status=$?
    trap '' INT TERM HUP
    stop "$sender_pid"
    stop "$receiver_pid"
    stop "$server_pid"
    stop "$epmd_pid"
    if [ "$status" -ne 0 ] && [ -s "$work/server.out" ]; then
        echo "The end of what the broker said:" >&2
        tail -n 20 "$work/server.out" >&2
    fi
    rm -rf "$work"
    exit "$status"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

answers() {
    (: <"/dev/tcp/127.0.0.1/$1") 2>/dev/null
}

# Sets the variable $1 to a port that nobody listens on, and that none of the earlier ones is.
taken=' '
free_port() {
    local candidate
    for _ in {1..200}; do
        candidate=$((20000 + RANDOM % 10000))
        if [[ $taken != *" $candidate "* ]] && ! answers "$candidate"; then
            taken+="$candidate "
            printf -v "$1" %s "$candidate"
            return 0
        fi
    done
    echo "no free port" >&2
    return 1
}
free_port port
free_port distribution_port
free_port epmd_port

# The broker sees nothing of the machine's own RabbitMQ: neither its settings nor its cookie.
: >"$work/none"
cat >"$work/rabbitmq.conf" <<CONF
listeners.tcp.1 = 127.0.0.1:$port
loopback_users.guest = true
CONF
(umask 077 && head -c 18 /dev/urandom | base64 >"$work/.erlang.cookie" && chmod 400 "$work/.erlang.cookie")

own_environment=(
    "HOME=$work"
    "ERL_EPMD_ADDRESS=127.0.0.1"
    "ERL_EPMD_PORT=$epmd_port"
    "RABBITMQ_NODENAME=zebbase-$$@localhost"
    "RABBITMQ_NODE_IP_ADDRESS=127.0.0.1"
    "RABBITMQ_NODE_PORT=$port"
    "RABBITMQ_DIST_PORT=$distribution_port"
    "RABBITMQ_SERVER_ADDITIONAL_ERL_ARGS=-kernel inet_dist_use_interface {127,0,0,1}"
    "RABBITMQ_CONF_ENV_FILE=$work/none"
    "RABBITMQ_CONFIG_FILE=$work/rabbitmq.conf"
    "RABBITMQ_ADVANCED_CONFIG_FILE=$work/none.config"
    "RABBITMQ_ENABLED_PLUGINS_FILE=$work/none"
    "RABBITMQ_MNESIA_BASE=$work/data"
    "RABBITMQ_LOG_BASE=$work/log"
    "RABBITMQ_PID_FILE=$work/server.pid"
)

# await SECONDS WHAT COMMAND...: until the command succeeds, with everything started here still there.
await() {
    local turns=$(($1 * 10)) what=$2 turn
    shift 2
    for ((turn = 0; turn < turns; ++turn)); do
        if "$@"; then
            return 0
        fi
        if ! kill -0 "$server_pid" 2>/dev/null; then
            echo "the broker is gone while waiting: $what" >&2
            return 1
        fi
        sleep 0.1
    done
    echo "not within the time: $what" >&2
    return 1
}

start_server() {
    env "${own_environment[@]}" setsid "$server" </dev/null >>"$work/server.out" 2>&1 &
    server_pid=$!
    await 90 "the broker's port $port" answers "$port"
}

# Everything runs in a group of its own, so that an interrupt from the keyboard comes to this script
# alone.
env "${own_environment[@]}" setsid epmd -address 127.0.0.1 -port "$epmd_port" \
    </dev/null >/dev/null 2>&1 &
epmd_pid=$!

echo "Starting a broker on 127.0.0.1:$port"
start_server

setsid "$programs/broker_receiver" "$port" "$count" </dev/null >"$work/receiver.out" 2>&1 &
receiver_pid=$!
setsid "$programs/broker_sender" --hold $((count * 9 / 10)) "$port" "$count" \
    </dev/null >"$work/sender.out" 2>&1 &
sender_pid=$!

# ended PID: whether a process has come to its end.
ended() {
    ! kill -0 "$1" 2>/dev/null
}
a_third_is_through() {
    grep -qs '^a third' "$work/receiver.out" || ended "$receiver_pid"
}
await 60 "a third of the messages" a_third_is_through
echo "Stopping it while messages are under way"
stop "$server_pid"
server_pid=''
echo "Starting it again"
start_server

status=0
await 90 "the sender's end" ended "$sender_pid" || status=1
await 90 "the receiver's end" ended "$receiver_pid" || status=1
if [ "$status" -eq 0 ]; then
    wait "$sender_pid" || status=1
    wait "$receiver_pid" || status=1
fi
sed 's/^/sender:   /' "$work/sender.out"
sed 's/^/receiver: /' "$work/receiver.out"
if [ "$status" -eq 0 ]; then
    sender_pid='' receiver_pid=''
    "$programs/broker_receiver" --dead-letters "$port" "$count" </dev/null || status=1
fi
if [ "$status" -eq 0 ]; then
    echo "Passed"
else
    echo "Failed" >&2
fi
exit "$status"
