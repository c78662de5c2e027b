#!/bin/bash
# Real shells on a terminal complete command lines.
# Usage: completion.sh CHECK

# shellcheck source=installed.sh
. "${BASH_SOURCE[0]%/*}/installed.sh"

shell=()
folder=$TMPDIR/folder
dump=$TMPDIR/line

# Keys for the shells: Ctrl-X a inserts all completions of a word, Ctrl-X d writes the line to a file.
use_bash() {
    [ -e /usr/share/bash-completion/bash_completion ] || give_up "needs bash-completion"
    cat >"$TMPDIR/bashrc" <<END
. /usr/share/bash-completion/bash_completion
dump() { echo "\$READLINE_LINE" >$dump.new; mv $dump.new $dump; exit; }
bind -x '"\C-xd": dump'
bind '"\C-xa": insert-completions'
END
    shell=(bash --rcfile "$TMPDIR/bashrc" -i)
    prepare
}

use_zsh() {
    needs zsh
    cat >"$TMPDIR/.zshrc" <<END
autoload -U compinit
compinit -u -d $TMPDIR/zcompdump
dump() { print -r -- "\$BUFFER" >$dump.new; mv $dump.new $dump; exit; }
insert-all() { _main_complete; compstate[insert]=all; }
zle -N dump
zle -C insert-all complete-word insert-all
bindkey '^Xd' dump '^Xa' insert-all
END
    shell=(env ZDOTDIR="$TMPDIR" zsh -i)
    prepare
}

# Installs the product and, before it in PATH, a program that reports when it is run.
prepare() {
    needs script
    install_product
    mkdir -p "$folder"/{only,"with blank"} "$TMPDIR"/{bin,empty}
    printf '#!/bin/sh\n: >%s/ran\n' "$TMPDIR" >"$TMPDIR/bin/heartbeat"
    chmod +x "$TMPDIR/bin/heartbeat"
    PATH=$TMPDIR/bin:$PATH
    cd "$TMPDIR/empty"
}

# expect_line_after KEYS LINE: these keys, a format of printf, leave this line, apart from blanks at its end.
expect_line_after() {
    local line
    rm -f "$dump"
    # shellcheck disable=SC2059 # The keys are its format.
    { printf "$1"'\x18d' && await "the shell has written its line" [ -e "$dump" ]; } |
        timeout "$patience" script --quiet --return --command "${shell[*]}" /dev/null >"$TMPDIR/screen"
    line=$(sed 's/ *$//' "$dump")
    expect_equal "$2" "$line"
}

# expect_completed TEXT LINE: the tab key turns the text into this line.
expect_completed() {
    expect_line_after "$1"'\t' "$2"
}

# expect_offered TEXT LINE: with all completions of its last word, the text becomes this line.
expect_offered() {
    expect_line_after "$1"'\x18a' "$2"
}

complete_commands() {
    expect_offered 'heartbeat ' 'heartbeat check daemon help install last restart run start status stop uninstall'
    expect_offered 'heartbeat --timeout=5 st' 'heartbeat --timeout=5 start status stop'
    # bash-completion needs the key twice for any program with a path.
    expect_completed '/usr/local/sbin/heartbeat ins\t' '/usr/local/sbin/heartbeat install'
    expect_completed 'heartbeat start st' 'heartbeat start st'
}

complete_options() {
    expect_completed 'heartbeat --cont' 'heartbeat --controlFolder='
    expect_completed 'heartbeat start --tim' 'heartbeat start --timeout='
    expect_completed 'heartbeat --runas-' 'heartbeat --runas-password='
    expect_completed 'heartbeat --inter' 'heartbeat --interval='
    expect_completed 'heartbeat start --no' 'heartbeat start --no-wait'
}

complete_values() {
    expect_offered 'heartbeat install -r dmn' 'heartbeat install -r dmnother dmnuser'
    expect_completed 'heartbeat --runas=dmnu' 'heartbeat --runas=dmnuser'
    expect_completed 'heartbeat --transientFolderGroup=dmne' 'heartbeat --transientFolderGroup=dmnextra'
    expect_completed 'heartbeat -g dmne' 'heartbeat -g dmnextra'
    expect_completed "heartbeat --controlFolder=$folder/o" "heartbeat --controlFolder=$folder/only/"
    expect_completed "heartbeat -c $folder/w" "heartbeat -c $folder/with\\ blank/"
    expect_completed 'heartbeat --log-level=w' 'heartbeat --log-level=warning'
    expect_completed "heartbeat --message=$TMPDIR/scr" "heartbeat --message=$TMPDIR/screen"
}

complete_dmnctl() {
    local id library
    library=$(find /usr/local/lib -name libdmn.so.1)
    export LD_LIBRARY_PATH=${library%/*} # the loader's list is the machine's
    for id in backupd indexd; do
        expect_success /usr/local/sbin/heartbeat --id=$id --controlFolder="$TMPDIR/$id" install
    done

    expect_offered 'dmnctl st' 'dmnctl start status stop'
    expect_offered 'dmnctl start ' 'dmnctl start backupd indexd'
    expect_completed 'dmnctl stop --kill backupd in' 'dmnctl stop --kill backupd indexd'
    expect_completed 'dmnctl boot ba' 'dmnctl boot backupd'
    expect_completed 'dmnctl boot backupd of' 'dmnctl boot backupd off'
    expect_completed 'dmnctl unit in' 'dmnctl unit indexd'
    expect_completed 'dmnctl restart --ti' 'dmnctl restart --timeout='
    expect_completed 'dmnctl log --fo' 'dmnctl log --follow'
    expect_completed 'dmnctl --vers' 'dmnctl --version'
}

expect_program_not_run() {
    expect_absent "$TMPDIR/ran"
}

check_BashCompletesCommands() {
    use_bash
    complete_commands
    expect_program_not_run
}

check_BashCompletesOptions() {
    use_bash
    complete_options
    expect_program_not_run
}

check_BashCompletesValues() {
    use_bash
    complete_values
    expect_program_not_run
}

check_ZshCompletesCommands() {
    use_zsh
    complete_commands
    expect_program_not_run
}

check_ZshCompletesOptions() {
    use_zsh
    complete_options
    expect_program_not_run
}

check_ZshCompletesValues() {
    use_zsh
    complete_values
    expect_program_not_run
}

check_BashCompletesDmnctl() {
    use_bash
    complete_dmnctl
}

check_ZshCompletesDmnctl() {
    use_zsh
    complete_dmnctl
}

# What the guide shows is what the checks above have tried.
check_GuideShowsTheFilesOfTheExample() {
    local page=docs/guide/options-and-commands.md files=$sources/examples/heartbeat/completion

    expect_equal "$(grep -v '^#' "$files/heartbeat")" "$(from_page $page '_completion_loader' '_dmn_complete')"
    expect_equal "$(cat "$files/_heartbeat")" "$(from_page $page '#compdef' '_dmn_service ')"
}

run_check "$@"
