# Completion of orvide-ligate for fish. Made by scripts/make_completions.py.
complete -c orvide-ligate -s o -r -F -d 'the joined file'
complete -c orvide-ligate -o allow_gaps -d 'joins files that do not overlap, too, as on both sides of a centromere; the phase across is arbitrary'
complete -c orvide-ligate -l help -d 'prints this help'
