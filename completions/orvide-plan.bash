# Completion of orvide-plan for bash. Made by scripts/make_completions.py.
_orvide_plan() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}
    COMPREPLY=()
    case $word in
    -*) mapfile -t COMPREPLY < <(compgen -W "-m -g -known_haps_g -h -l -chr -max_kb -min_typed -gap_kb -buffer -o --help" -- "$word") ;;
    *)
        case $before in
        -chr|-max_kb|-min_typed|-gap_kb|-buffer) ;;
        *) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
        esac
        ;;
    esac
}
complete -o filenames -F _orvide_plan orvide-plan
