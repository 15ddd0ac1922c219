# shellcheck shell=bash
# To be sourced. kestrim_need PACKAGE... makes sure that these Debian packages are installed: as root it installs those that
# are missing, anyone else is told their names and the script ends.

kestrim_need()
{
    local package missing=()
    for package; do
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed* ]] || missing+=("$package")
    done
    [[ ${#missing[@]} -gt 0 ]] || return 0

    if [[ $(id -u) -ne 0 ]]; then
        printf 'These packages are missing; install them and start again:\n  apt-get install %s\n' "${missing[*]}" >&2
        exit 1
    fi
    printf 'Installing %s\n' "${missing[*]}"
    apt-get -qq update
    DEBIAN_FRONTEND=noninteractive apt-get -qq install -y --no-install-recommends "${missing[@]}" >/dev/null
}
