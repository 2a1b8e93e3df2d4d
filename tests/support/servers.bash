# For scripts that run a command beside private servers: their folder, which goes with them, and how a server is
# started and awaited. Read by engines and clusters, with their name.
caller=$1
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
tool=${TAVREL_BIN:-$root/build/release/bin}/orbenta-catalogue
[[ -x $tool ]] || { echo "$caller: there is no $tool; build it, or name its folder in TAVREL_BIN" >&2 && exit 1; }

folder=$(mktemp -d "${TMPDIR:-/tmp}/tavrel-$caller.XXXXXX")
chmod 711 "$folder"
servers=()

stop() {
    local pid
    for pid in "${servers[@]}"; do
        kill -s INT "$pid" 2>/dev/null || true # a fast, orderly end for PostgreSQL
        kill -s TERM "$pid" 2>/dev/null || true
    done
    for pid in "${servers[@]}"; do
        timeout 20 tail --pid="$pid" -f /dev/null || kill -s KILL "$pid" 2>/dev/null || true
    done
    rm -rf "$folder"
}
trap stop EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

fail() {
    echo "$caller: $1" >&2
    [[ -z ${2:-} ]] || tail -n 20 "$2" >&2
    exit 1
}

# Below the ports that outgoing connections take.
free_port() {
    local port
    while port=$((20000 + RANDOM % 12000)) && (: <"/dev/tcp/127.0.0.1/$port") 2>/dev/null; do :; done
    echo "$port"
}

# The servers refuse to run as root; they end with their starter even if it is killed.
as() {
    local user=$1 privileges=()
    shift
    ((EUID != 0)) || privileges=(--reuid "$user" --regid "$user" --clear-groups)
    exec setpriv "${privileges[@]}" --pdeathsig INT "$@"
}

folder_for() {
    mkdir "$folder/$1"
    ((EUID != 0)) || chown "$1" "$folder/$1"
}

# Answers once the server does; gives up when it ends or after 60 seconds.
await() {
    local pid=$1 log=$2 attempt
    shift 2
    for attempt in {1..600}; do
        "$@" >/dev/null 2>&1 && return
        kill -0 "$pid" 2>/dev/null || fail "a server ended while it started" "$log"
        sleep 0.1
    done
    fail "a server does not answer" "$log"
}

# Debian keeps PostgreSQL's programs out of the path.
PATH=$(printf '%s:' /usr/lib/postgresql/*/bin | tr : '\n' | sort -Vr | head -n 1):$PATH

export PGUSER=orbenta PGDATABASE=orbenta PGPASSWORD=orbenta ODBCINI=$folder/odbc.ini ENGINES_FOLDER=$folder
echo "$PGPASSWORD" >"$folder/password"

make_postgresql_data() {
    (cd "$folder/postgres" && as postgres initdb -D "$1" -U orbenta -A scram-sha-256 \
        --pwfile="$folder/password" -E UTF8 --locale=C.UTF-8 --no-sync) \
        >"$folder/initdb.log" 2>&1 || fail "PostgreSQL's data folder could not be made" "$folder/initdb.log"
}

# Two that are made at the same moment have failed one another.
make_mariadb_data() {
    (flock 9 && cd "$folder/mysql" && as mysql mariadb-install-db --no-defaults --datadir="$folder/mysql/$1" \
        --auth-root-authentication-method=normal --skip-test-db) \
        >"$folder/install.log" 2>&1 9>"/tmp/tavrel-engines.$UID.lock" ||
        fail "MariaDB's data folder could not be made" "$folder/install.log"
}

# For the administrator's client.
mariadb_database() {
    cat <<'SQL'
CREATE DATABASE orbenta CHARACTER SET utf8mb4 COLLATE utf8mb4_bin;
CREATE USER orbenta@'127.0.0.1' IDENTIFIED BY 'orbenta';
GRANT ALL ON orbenta.* TO orbenta@'127.0.0.1' WITH GRANT OPTION;
GRANT CREATE USER ON *.* TO orbenta@'127.0.0.1';
SQL
}

# An entry that leads to the database of the servers.
entry() {
    "$tool" --dsn "$1" odbc --engine "${@:2}" >"$folder/entry.log" 2>&1 || fail "no entry $1" "$folder/entry.log"
}
role=(--database "$PGDATABASE" --user "$PGUSER" --password-file "$folder/password")
