#!/usr/bin/env bash
# Tests of scripts/setup.sh: which packages are missing, how they are installed, and whose
# compiler cache is used. The system's tools are stand-ins that come first in the path.
# usage: tst_setup.sh SOURCE_FOLDER
set -uo pipefail
source_folder=$(realpath "$1")
scratch=$(mktemp -d) || exit
trap 'rm -rf "$scratch"' EXIT
quoted=$(printf %q "$scratch")
cp "$source_folder/scripts/setup.sh" "$scratch"
passed=0
failed=0

# check NAME EXPECTED ACTUAL
check() {
    if [[ $2 == "$3" ]]; then
        ((++passed))
    else
        ((++failed))
        printf 'FAILED: %s: %q instead of %q\n' "$1" "$3" "$2"
    fi
}

# stand_in TOOL COMMANDS
mkdir "$scratch/bin"
stand_in() {
    printf '#!/bin/bash\n%s\n' "$2" >"$scratch/bin/$1"
    chmod a+rx,u+w "$scratch/bin/$1"
}

# with_setup COMMANDS [SETTING...]: what they print, and behind a slash their exit code.
with_setup() {
    local commands=$1 output code
    shift
    output=$("${as_user[@]}" env -u CMAKE_CXX_COMPILER_LAUNCHER -u CCACHE_DIR -u CCACHE_BASEDIR \
        -u CRAYVELL_BUILD "PATH=$scratch/bin:$PATH" "$@" \
        bash -c "root=/tree; source $quoted/setup.sh; $commands" </dev/null 2>/dev/null)
    code=$?
    printf '%s/%s' "$output" "$code"
}
as_user=()

stand_in dpkg-query 'printf "/one/installed//gone/config-files//half/half-installed/"'
check "packages that are missing" $'gone\nhalf\nnever/0' \
    "$(with_setup 'missing_packages one gone half never')"

# The tools write down what they are asked for.
stand_in apt-get "echo apt-get \"\$@\" >>$quoted/asked"
stand_in sudo "echo sudo \"\$1\" >>$quoted/asked; while [[ \$1 == -* ]]; do shift; done; \"\$@\""
asked() {
    : >"$scratch/asked"
    chmod a+rw "$scratch/asked" # whatever the umask is
    with_setup "install_packages $1"
    printf '\n'
    sed -E 's/ --option [^ ]*//' "$scratch/asked"
}
check "nothing is missing" "/0" "$(asked one)"
if ((EUID == 0)); then
    check "root installs" $'/0\napt-get update\napt-get install --yes --no-install-recommends gone' \
        "$(asked 'one gone')"
    as_user=(unshare --user --map-user=65534) # in name only: the files stay root's
    if ! "${as_user[@]}" true 2>/dev/null; then # below another root, for example
        as_user=(setpriv --reuid=65534 --regid=65534 --clear-groups)
        chmod -R a+rwX "$scratch"
    fi
fi
check "nobody is there to type a password" \
    $'/0\nsudo --non-interactive\napt-get update\nsudo --non-interactive\napt-get install --yes --no-install-recommends gone' \
    "$(asked gone)"
stand_in apt-get 'exit 100'
check "what could not be installed ends the script" "/1" \
    "$(with_setup 'install_packages gone; echo went on')"
as_user=()

stand_in ccache ''
names='printf "%s|" "${CMAKE_CXX_COMPILER_LAUNCHER-none}" "${CCACHE_DIR-none}" "${CCACHE_BASEDIR-none}"'
check "the tree's own cache" 'ccache|/tree/build/ccache|/tree|/0' "$(with_setup "use_ccache; $names")"
check "a launcher of one's own" 'distcc|none|/tree|/0' \
    "$(with_setup "use_ccache; $names" CMAKE_CXX_COMPILER_LAUNCHER=distcc)"
check "no launcher" '|none|/tree|/0' "$(with_setup "use_ccache; $names" CMAKE_CXX_COMPILER_LAUNCHER=)"
check "a cache of one's own" 'ccache|/cache|/tree|/0' "$(with_setup "use_ccache; $names" CCACHE_DIR=/cache)"
check "a base folder of one's own" 'ccache|/tree/build/ccache|/base|/0' \
    "$(with_setup "use_ccache; $names" CCACHE_BASEDIR=/base)"

printf '%s passed, %s failed\n' "$passed" "$failed"
((failed == 0))
