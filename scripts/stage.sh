# Redis and the daemon in a sandbox, for whatever plays the front end there. To be sourced by a script
# that has set $bin, the folder with the programs.

# Waits, a minute at most, until the command succeeds.
await() {
    local tries
    for ((tries = 0; tries < 1200; ++tries)); do
        ! "$@" >/dev/null 2>&1 || return 0
        sleep 0.05
    done
    return 1
}

redis() {
    redis-cli -s /run/redis.sock "$@"
}

# Starts a Redis server without a port, and leaves its connection files; its output is in redis.log.
start_redis() {
    redis-server --port 0 --unixsocket /run/redis.sock --save '' --appendonly no >redis.log 2>&1 &
    printf 0 >/var/run/redis.port
    printf /run/redis.sock >/var/run/redis.unixsocket
    await redis ping
}

all_listen() {
    local count
    count=$(redis pubsub numsub \
        '&&/redfish/v1/CertificateService/CreateNewCertificate' \
        '&&/redfish/v1/CertificateService/DeleteCertificate' \
        '&&/redfish/v1/CertificateService/ACTION_CHANNEL' | grep -cx 1)
    [ "$count" = 3 ]
}

listens_or_has_ended() {
    all_listen || ! kill -0 "$daemon"
}

# Starts the daemon ($daemon) with the configuration on standard input. Its log is in daemon.log, its
# output in daemon.out; the last lines of both are shown when it does not come to listen.
start_daemon() {
    {
        printf '%s\n' "LOG_FILE=$PWD/daemon.log" LOG_FILE_SIZE=1048576 LOG_LEVEL=debug
        cat
    } >/usr/local/etc/nginx/CertificateService.conf
    "$bin/CertificateService" >daemon.out 2>&1 &
    daemon=$!
    await listens_or_has_ended
    all_listen && return
    echo "The daemon does not listen on its three channels. Its last lines:"
    tail -q -n 20 daemon.out daemon.log 2>/dev/null
    return 1
}

web_listens_or_has_ended() {
    grep -q serves web.out || ! kill -0 "$web"
}

# Starts certificateweb ($web) at the address, for the user "admin" with a new password, which is in
# the file "password". What it prints is in web.out and web.log.
start_web() {
    openssl rand -base64 15 >password
    chmod 600 password
    "$bin/certificateweb" --listen "$1" --user admin --password-file password >web.out 2>web.log &
    web=$!
    await web_listens_or_has_ended
    grep -q serves web.out
}
