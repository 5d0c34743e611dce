# SPDX-License-Identifier: MIT
# Completion of vesk-mdns for bash.

# The types that are seen on the network within half a second, one a line.
_vesk_mdns_types() {
    vesk-mdns --timeout 0.5 browse </dev/null 2>/dev/null | cut -f 3 | sort -u
}

# Offers the lines that follow on standard input, names with blanks quoted.
_vesk_mdns_offer() {
    local current=${COMP_WORDS[COMP_CWORD]} line
    current=${current#[\"\']}
    current=${current//\\/}
    COMPREPLY=()
    while IFS= read -r line; do
        [[ $line == "$current"* ]] || continue
        [[ ${COMP_WORDS[COMP_CWORD]} == [\"\']* ]] || printf -v line '%q' "$line"
        COMPREPLY+=("$line")
    done
}

_vesk_mdns() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local operands=() i
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
        -t | --timeout | --log-config | --backend) ((i++)) ;;
        -*) ;;
        *) operands+=("${COMP_WORDS[i]}") ;;
        esac
    done

    case $previous in
    -t | --timeout)
        COMPREPLY=()
        return
        ;;
    --backend)
        _vesk_mdns_offer < <(printf '%s\n' auto daemon process)
        return
        ;;
    --log-config)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    esac
    if [[ $current == -* ]]; then
        _vesk_mdns_offer < <(printf '%s\n' --backend --help --ipv4 --ipv6 --json --log-config --timeout --verbose --version)
        return
    fi
    case "${#operands[@]} ${operands[*]:0:1}" in
    "0 ") _vesk_mdns_offer < <(printf '%s\n' advertise browse config doctor resolve) ;;
    "1 browse" | "2 resolve" | "2 advertise") _vesk_mdns_offer < <(_vesk_mdns_types) ;;
    "1 config") _vesk_mdns_offer < <(printf '%s\n' get set unset) ;;
    *) COMPREPLY=() ;;
    esac
}

complete -F _vesk_mdns vesk-mdns
