#compdef brmx-scan

_arguments -s -S \
    '--color=-[colour numbers]::when:(auto always never)' \
    '--community=[ask the servers of this host name]:group:_hosts' \
    '--credentials=[who asks the community]:mode\:id\:secret: ' \
    '--fail-above=[end with 3 if a message has more]:probability: ' \
    '--health[tell how many servers can be reached]' \
    '(- *)--help[print a short description]' \
    '--jobs=[scan with so many threads]:threads: ' \
    '--json[print one JSON object a line]' \
    '--languages[tell the languages of each message]' \
    '--mbox=-[take files for an mbox]::when:(auto always never)' \
    '--rediscover=[look the host name up again so often]:seconds: ' \
    '(--revoke)--report[report the messages as spam]' \
    '(--report)--revoke[take reports back]' \
    '--sort[print the most probable spam first]' \
    '--state=[keep the state in this file]:file:_files' \
    '--summary=-[print numbers and a histogram]::when:(auto always never)' \
    '--timeout=[wait so long for an answer]:milliseconds: ' \
    '--trace[print the explanation below each message]' \
    '(- *)--version[print the versions]' \
    '*:message:_files'
