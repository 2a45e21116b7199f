# Completion of orvide-report for fish. Made by scripts/make_completions.py.
complete -c orvide-report -s h -d 'show this help message and exit'
complete -c orvide-report -l help -d 'show this help message and exit'
complete -c orvide-report -s o -r -F -d 'the page (default: orvide_report.html)'
complete -c orvide-report -l output -r -F -d 'the page (default: orvide_report.html)'
complete -c orvide-report -l title -x -d 'its title (default: Imputation report)'
complete -c orvide-report -l panel -d 'compare allele frequencies of study and panel; reads the first -h file of each run again'
