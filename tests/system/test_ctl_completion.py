# SPDX-License-Identifier: GPL-2.0-or-later
"""What zsh and fish complete of veluctl's command line: the shells themselves are asked. (bash: test_ctl_catalogue.)"""
import re

import pytest

# A shell at a terminal of its own, in which each line is typed with a tab behind it; what stands in the line then is printed.
ZSH = r"""
zmodload zsh/zpty
zpty shell "zsh -f -i"
zpty -w shell 'PS1=; fpath=(/tmp/completions $fpath); autoload -Uz compinit; compinit -u -D; echo "<loaded"">"'
zpty -r -m shell read '*<loaded>*'
for line in "$@"; do
    zpty -w -n shell "$line"$'\t'
    zpty -w -n shell $'\x01print -r -- "<\x05>"\n'
    zpty -r -m shell read $'*\n<*>*'
    print -r -- "${${read##*$'\n'<}%%>*}"
done
"""

COMPLETED = {
    "veluctl rei": "veluctl reindex",
    "veluctl reindex vi": "veluctl reindex video",
    "veluctl list -k pl": "veluctl list -k playlist",
    "veluctl list alb": "veluctl list albums",
    "veluctl missing cov": "veluctl missing covers",
    "veluctl log --al": "veluctl log --all",
    "veluctl export m3": "veluctl export m3u8",
    "veluctl duplicates rec": "veluctl duplicates recordings",
    "veluctl add --time": "veluctl add --timeout",
    "veluctl show /tmp/only": "veluctl show /tmp/only-here.mp3",
    "veluctl share add vi": "veluctl share add video",
    "veluctl feature of": "veluctl feature off",
    "veluctl stats /tmp/only": "veluctl stats /tmp/only",
}


def shell(box, *arguments):
    done = box.box.ask("run", arguments=list(arguments), environment={"HOME": "/tmp", "TERM": "dumb"}, timeout=60)
    assert done["status"] == 0, done
    return done["out"].splitlines()


@pytest.fixture
def typed(box):
    box.write("/tmp/only-here.mp3")
    return box


def test_zsh_completes_commands_options_words_and_paths(typed):
    typed.write("/tmp/completions/_veluctl", typed.ctl("--completion-zsh")["out"])
    typed.write("/tmp/ask", ZSH)
    answers = shell(typed, "/usr/bin/zsh", "-f", "/tmp/ask", *COMPLETED)
    assert dict(zip(COMPLETED, (answer.rstrip(" =") for answer in answers), strict=True)) == COMPLETED


def test_fish_completes_commands_options_words_and_paths(typed):
    typed.write("/tmp/veluctl.fish", typed.ctl("--completion-fish")["out"])
    for line, completed in COMPLETED.items():
        answers = shell(typed, "/usr/bin/fish", "--no-config", "-c", f"source /tmp/veluctl.fish; complete -C '{line}'")
        words = [answer.split("\t")[0].rstrip("=") for answer in answers]
        assert words == ([] if line == completed else [completed.split()[-1]]), line


@pytest.mark.parametrize("option", ["--completion-zsh", "--completion-fish"])
def test_each_command_and_option_is_there(box, option):
    text = box.ctl(option)["out"]
    for command in re.findall(r"^  ([a-z]+)  ", box.ctl("--help")["out"], re.MULTILINE):
        assert command in text
        for name in re.findall(r"--([a-z0-9-]+)", box.ctl(command, "--help")["out"]):
            assert f"--{name}" in text or f"-l {name} " in text, (command, name)
