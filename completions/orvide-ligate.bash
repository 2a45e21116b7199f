# Completion of orvide-ligate for bash. Made by scripts/make_completions.py.
_orvide_ligate() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}
    COMPREPLY=()
    case $word in
    -*) mapfile -t COMPREPLY < <(compgen -W "-o -allow_gaps --help" -- "$word") ;;
    *)
        case $before in
        --) ;;
        *) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
        esac
        ;;
    esac
}
complete -o filenames -F _orvide_ligate orvide-ligate
