# Writes the words that zsh offers to complete a line with, one a line. HOME has to be a folder of one's own.
#
#   zsh -f zsh_candidates.zsh FOLDER_OF_COMPLETIONS LINE
#
# A shell on a pseudo-terminal is asked; what it would show is caught where it is collected, in `compadd`.
zmodload zsh/zpty zsh/zselect
cat >$HOME/setup <<'END'
autoload -Uz compinit && compinit -u -D
compadd() {
  # These are asked for by the completion functions themselves.
  if [[ ${@[1,(i)(-|--)]} == *-(O|A|D)\ * ]]; then
    builtin compadd "$@"
    return
  fi
  local -a found
  builtin compadd -A found "$@"
  (( $#found )) && print -rl -- $found >>$HOME/candidates
  return 0
}
: >$HOME/candidates
# The end of a completion shows in a file: there is no other sign of it.
ask() { zle complete-word; : >$HOME/done }
zle -N ask
bindkey '^X' ask
: >$HOME/ready
END
zpty shell zsh -f -i
zpty -w shell "fpath=(${(q)1} \$fpath); source ${(q)HOME}/setup"
until [[ -e $HOME/ready ]]; do zpty -r -t shell said || zselect -t 1; done
zpty -w -n shell "$2"$'\x18'
until [[ -e $HOME/done ]]; do zpty -r -t shell said || zselect -t 1; done
zpty -d shell
cat $HOME/candidates
