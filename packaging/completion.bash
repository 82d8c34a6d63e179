# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Completes the options of LightPenNX7, LightPenNX7-webcam and LightPenNX7-emulated, which their own help names.

_lightpen_nx7() {
    local word=${COMP_WORDS[COMP_CWORD]} words
    case ${COMP_WORDS[COMP_CWORD - 1]} in
        --log) words='stderr file none' ;;
        --action) words='show calibrate settings help' ;;
        --pose) words='keystone straight rotated' ;;
        --camera)
            words=$(shopt -s nullglob && printf '%s\n' /dev/video* /dev/v4l/by-id/*)
            ;;
        --screen | --wireless | --device) words= ;;
        *) words=$("$1" --help 2>/dev/null | sed -n 's/^ *\(--[a-z-]*\).*/\1/p') ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}

complete -F _lightpen_nx7 LightPenNX7 LightPenNX7-webcam LightPenNX7-emulated
