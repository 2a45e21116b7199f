# Completion of orvide-report for bash. Made by scripts/make_completions.py.
_orvide_report() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}
    COMPREPLY=()
    case $word in
    -*) mapfile -t COMPREPLY < <(compgen -W "-h --help -o --output --title --panel" -- "$word") ;;
    *)
        case $before in
        --title) ;;
        *) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
        esac
        ;;
    esac
}
complete -o filenames -F _orvide_report orvide-report
