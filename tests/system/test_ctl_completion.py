# SPDX-License-Identifier: GPL-2.0-or-later
"""What bash, zsh and fish complete of veluctl's command line: the shells themselves are asked. """
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
    "veluctl missing covers albuma": "veluctl missing covers albumartist",
    "veluctl missing files /tmp/shelf/so": "veluctl missing files /tmp/shelf/songs",
    "veluctl missing files --csv /srv /tmp/shelf/so": "veluctl missing files --csv /srv /tmp/shelf/songs",
    "veluctl list albuma": "veluctl list albumartist",
    "veluctl list films -d /srv resolution=43": "veluctl list films -d /srv resolution=4320p",
    "veluctl recent yes": "veluctl recent yesterday",
    "veluctl recent kind=fil": "veluctl recent kind=film",
    "veluctl find kind=fil": "veluctl find kind=film",
    "veluctl find a added=yes": "veluctl find a added=yesterday",
    "veluctl find subtitles=deut": "veluctl find subtitles=deutsch",
    "veluctl find has:albuma": "veluctl find has:albumartist",
    "veluctl export csv cover=y": "veluctl export csv cover=yes",
    "veluctl log --al": "veluctl log --all",
    "veluctl log yes": "veluctl log yesterday",
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
    box.write("/tmp/shelf/song.mp3")
    box.write("/tmp/shelf/songs/one.mp3")
    return box


# A line is typed into bash's own editor: which words it is made of, and what is put in the place of which, is its affair.
BASH = r"""
import os, pty, select, sys
for line in sys.argv[1:]:
    pid, end = pty.fork()
    if pid == 0:
        os.environ.update(PS1="", INPUTRC="/dev/null")
        os.execv("/bin/bash", ["bash", "--norc", "--noprofile", "-i"])
    def send(text):
        os.write(end, text.encode())
    def until(mark):
        seen = b""
        while mark not in seen:
            assert select.select([end], [], [], 50)[0], seen
            seen += os.read(end, 65536)
        return seen
    send("set +o history; PS1= PS2=; bind 'set enable-bracketed-paste off'; . /tmp/bash-completion; echo load''ed\n")
    until(b"loaded\r\n")
    send(line + "\t\x01echo '<\x05>' ty''ped\n")
    print(until(b"> typed").rsplit(b"<", 1)[1].split(b">")[0].decode())
    os.close(end)
    os.waitpid(pid, 0)
"""


def test_bash_completes_commands_options_words_and_paths(typed):
    typed.write("/tmp/bash-completion", typed.ctl("--completion")["out"])
    typed.write("/tmp/ask", BASH)
    lines = {line: completed for line, completed in COMPLETED.items() if "/tmp/only" not in line or line != completed}
    answers = shell(typed, "/usr/bin/python3", "/tmp/ask", *lines)
    assert dict(zip(lines, (answer.rstrip(" =/") for answer in answers), strict=True)) == lines


def test_zsh_completes_commands_options_words_and_paths(typed):
    typed.write("/tmp/completions/_veluctl", typed.ctl("--completion-zsh")["out"])
    typed.write("/tmp/ask", ZSH)
    answers = shell(typed, "/usr/bin/zsh", "-f", "/tmp/ask", *COMPLETED)
    assert dict(zip(COMPLETED, (answer.rstrip(" =/") for answer in answers), strict=True)) == COMPLETED


def test_fish_completes_commands_options_words_and_paths(typed):
    typed.write("/tmp/veluctl.fish", typed.ctl("--completion-fish")["out"])
    for line, completed in COMPLETED.items():
        answers = shell(typed, "/usr/bin/fish", "--no-config", "-c", f"source /tmp/veluctl.fish; complete -C '{line}'")
        words = [answer.split("\t")[0].rstrip("=/") for answer in answers]
        assert words == ([] if line == completed else [completed.split()[-1]]), line


@pytest.mark.parametrize("option", ["--completion-zsh", "--completion-fish"])
def test_each_command_and_option_is_there(box, option):
    text = box.ctl(option)["out"]
    for command in re.findall(r"^  ([a-z]+)  ", box.ctl("--help")["out"], re.MULTILINE):
        assert command in text
        for name in re.findall(r"--([a-z0-9-]+)", box.ctl(command, "--help")["out"]):
            assert f"--{name}" in text or f"-l {name} " in text, (command, name)
