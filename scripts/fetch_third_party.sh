#!/usr/bin/env bash
# Fetches the sources of quickjs or miniz, which Debian 12 has no package of, and prints the folder
# that holds them. They come once, from the source packages of Debian 13, through the machine's own
# Debian mirror: apt runs with a private configuration, the machine's is only read.
#
# Usage: scripts/fetch_third_party.sh quickjs|miniz
set -euo pipefail

suite=trixie
cache=${QORVS_THIRD_PARTY_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/qorvscommon/third_party}

# Sets package, tarball sum and, in folder, the place in the cache.
choose() {
    case ${1:-} in
        quickjs)
            folder=$cache/quickjs-2025.04.26
            package=quickjs
            sum=ec81da5b3249ed648dbc7df4a1654988910e66a118d9b71cb63534216efcfbbe
            ;;
        miniz)
            folder=$cache/miniz-3.0.2
            package=woof-doom  # 15.2.0+dfsg carries the release files of miniz 3.0.2
            sum=005bbe1c695dfa96368d171d7d8c138dd1a643337bfeb0d5cb5eec2b909c96b2
            ;;
        *)
            echo "usage: $0 quickjs|miniz" >&2
            exit 2
            ;;
    esac
}

# Prints the machine's Debian sources as source lines of the other suite (deb822 form). Only the
# entries of the release itself count: not its updates, and not other people's archives without a
# "main" component.
list_sources() {
    local codename
    codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
    for file in /etc/apt/sources.list.d/*.sources; do
        if [ -r "$file" ]; then
            cat "$file"
            echo
        fi
    done | awk -v RS= -v own="$codename" -v other="$suite" '
        {
            uris = suites = keys = ""; kept = debian = 1; field = ""
            count = split($0, lines, "\n")
            for (i = 1; i <= count; i++) {
                line = lines[i]
                if (line ~ /^#/) continue
                if (line !~ /^[ \t]/) { field = tolower(line); sub(/:.*/, "", field) }
                value = line; sub(/^[^ \t:]+:/, "", value)
                if (field == "uris") uris = uris " " value
                if (field == "suites") suites = suites " " value " "
                if (field == "signed-by") keys = keys "\n" line
                if (field == "enabled" && value ~ /no/) kept = 0
                if (field == "components" && value !~ /(^|[ \t])main([ \t]|$)/) kept = 0
            }
            if (kept && uris != "" && suites ~ "[ \t](" own "|stable)[ \t]")
                printf "Types: deb-src\nURIs:%s\nSuites: %s\nComponents: main%s\n\n", uris, other, keys
        }'
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        if [ -r "$file" ]; then
            cat "$file"
        fi
    done | awk -v own="$codename" -v other="$suite" '
        $1 == "deb" {
            keys = ""
            if (match($0, /\[[^]]*\]/)) {
                options = substr($0, RSTART + 1, RLENGTH - 2)
                if (match(options, /signed-by=[^ ]+/))
                    keys = "\nSigned-By: " substr(options, RSTART + 10, RLENGTH - 10)
                sub(/\[[^]]*\]/, "")
            }
            if (($3 == own || $3 == "stable") && / main( |$)/)
                printf "Types: deb-src\nURIs: %s\nSuites: %s\nComponents: main%s\n\n", $2, other, keys
        }'
}

# Downloads the original tarball of the package into the folder $1 and checks its sum.
download() {
    local work=$1
    mkdir -p "$work"/{lists/partial,cache/archives/partial,parts,download}
    list_sources >"$work/parts/private.sources"
    if [ ! -s "$work/parts/private.sources" ]; then
        echo "no Debian archive is configured on this machine" >&2
        exit 1
    fi
    cat >"$work/apt.conf" <<END
Dir::Etc::sourcelist "/dev/null";
Dir::Etc::sourceparts "$work/parts";
Dir::Etc::preferences "/dev/null";
Dir::Etc::preferencesparts "/dev/null";
Dir::State::lists "$work/lists";
Dir::Cache "$work/cache";
APT::Sandbox::User "$(id -un)";
Acquire::Retries "3";
Acquire::Languages "none";
#clear APT::Update::Pre-Invoke;
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
END
    (
        cd "$work/download"
        # One of several mirrors may fail; what counts is the sum below. Only the original tarball is
        # asked for: Debian's own part changes with each revision, and old revisions go away.
        apt-get -c "$work/apt.conf" -qq update || true
        apt-get -c "$work/apt.conf" -qq source --download-only --tar-only "$package"
    ) >&2
    tarball=$(find "$work/download" -name '*.orig.tar.*' ! -name '*.asc')
    echo "$sum  $tarball" | sha256sum --check --quiet >&2
}

unpack_quickjs() {
    tar --extract --file "$tarball" --directory "$1" --strip-components 1
}

unpack_miniz() {
    tar --extract --file "$tarball" --directory "$1" --wildcards --no-anchored \
        --transform 's,.*/,,' 'third-party/miniz/*'
    (cd "$1" && sha256sum --check --quiet >&2) <<'END'
0fcdc9888cb3a29ca8f176bac087e5fe6c7258a6ab06b1c271c1e109a11d3740  miniz.c
295d1a0041aea09609598c0f1f35c1977ca05ad662acbadcfdaac44c140af37b  miniz.h
END
}

choose "$@"
mkdir -p "$cache"
exec 9>"$cache/.lock"
flock 9
if [ ! -d "$folder" ]; then
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    download "$work"
    rm -rf "$folder.new"
    mkdir "$folder.new"
    "unpack_$1" "$folder.new"
    mv "$folder.new" "$folder"
fi
echo "$folder"
