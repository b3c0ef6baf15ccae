#!/usr/bin/env zsh
# zsh_candidates.zsh FOLDER WORD...: prints the candidates that zsh offers for the last WORD of a command line, one per
# line. Zsh completes only at a prompt, so it is run on a pseudo terminal, and a replaced compadd writes its arguments
# down.
emulate -R zsh
zmodload zsh/zpty
folder=$1
shift
zpty prompt zsh -f -i
# The trap is set after the fork, which would otherwise inherit it.
candidates=$(mktemp)
trap 'rm -f $candidates' EXIT
answer() { local seen; zpty -r prompt seen "*$1*" || exit 1; }
tell() { zpty -w prompt $1; }
tell "stty rows 500; LISTMAX=1000; PS1=; unsetopt zle_bracketed_paste beep; fpath=(${(q)folder} \$fpath); autoload -Uz compinit && compinit -u -D"
tell "compadd() {
  if [[ \${@[(I)-(O|A|D)]} -gt 0 ]]; then builtin compadd \"\$@\"; return; fi
  local -a matches; builtin compadd -O matches \"\$@\"
  (( \$#matches )) && print -rl -- \$matches >>${(q)candidates}
  builtin compadd \"\$@\"
}"
tell 'done-with-it() { print ALL""OFFERED; }; zle -N done-with-it; bindkey "^Xe" done-with-it'
tell 'list-them() { zle list-choices; zle kill-whole-line; }; zle -N list-them; bindkey "^Xl" list-them'
# Keys that come before the line editor are the terminal's.
tell 'zle-line-init() { print REA""DY; }; zle -N zle-line-init'
answer READY
zpty -wn prompt "${(j: :)@}"$'\C-xl\C-xe'
answer ALLOFFERED
zpty -d prompt
sort -u $candidates
