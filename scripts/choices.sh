# shellcheck shell=bash
# For scripts that do all they can, or only what is named to them.

# require_choices KIND ARRAY NAME...: ends the script with status 2 unless each name is in the array.
require_choices() {
    local kind=$1 name
    local -n choices=$2
    for name in "${@:3}"; do
        if [[ " ${choices[*]} " != *" $name "* ]]; then
            echo "scripts/${0##*/}: there is no $kind '$name'; choose from: ${choices[*]}" >&2
            exit 2
        fi
    done
}
