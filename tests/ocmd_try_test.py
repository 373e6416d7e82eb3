#!/usr/bin/env python3
"""ocmd_try at a pseudo-terminal and in scripts: ocmd_try_test.py PROGRAMS SOURCE"""
import fcntl
import os
import re
import subprocess
import sys
import tempfile
import time
import unittest

import pexpect

PROGRAMS, SOURCE = sys.argv.pop(1), sys.argv.pop(1)
GRAMMAR = """
words:
  show:
    help: Look at the state of the device
    words:
      lamps:
        help: Lamps and who lit them
        command: show_lamps
        permissions: [1, 64]
        interfaces: [0, 63]
        words: {<INTEGER>: {min: 1, max: 12, optional: yes, command: show_lamp}}
      last: show_last
  lamp:
    words:
      <INTEGER>:
        submode: {help: Lamp, mode: lamp}
        words:
          bright: {words: {<INTEGER>: {min: 0, max: 100, command: lamp_bright}}}
          label: {words: {<LINE>: lamp_label}}
  shelf: {words: {<STRING>: {submode: yes, words: {dust: dust_shelf}}}}
  odd: {help: "\\e]0;title\\a", command: odd}
"""
HISTORY = "_HiStOrY_V2_\n"


class TryTest(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = scratch.name
        self.env = dict(os.environ, TERM="dumb", XDG_STATE_HOME=self.folder, LC_ALL="C",
                        PATH=PROGRAMS + ":" + os.environ["PATH"])
        self.write(GRAMMAR)

    def write(self, text, name="porch.yaml"):
        with open(os.path.join(self.folder, name), "w", encoding="utf-8") as file:
            file.write(text)

    @staticmethod
    def read_source(name):
        with open(os.path.join(SOURCE, name), encoding="utf-8") as file:
            return file.read()

    def run_program(self, *command, lines=""):
        return subprocess.run(command, input=lines, cwd=self.folder, env=self.env, text=True,
                              capture_output=True, check=False)

    def open(self, *options, rows=24):
        shell = pexpect.spawn("ocmd_try", [*options, "porch.yaml"], cwd=self.folder, env=self.env,
                              encoding="utf-8", codec_errors="replace", timeout=30,
                              dimensions=(rows, 80))
        self.addCleanup(shell.close)
        shell.expect_exact("porch# ")
        return shell

    def shown(self, shell, keys, prompt="porch# "):
        """Returns what the shell shows between the keys and the next prompt."""
        shell.send(keys)
        shell.expect(r"\n\r?" + re.escape(prompt)) # not where the line is drawn again
        return shell.before.replace("\r\n", "\n")

    def history(self):
        with open(os.path.join(self.folder, "ocmd/try_history"), encoding="utf-8") as file:
            return file.read()

    # ---- At a terminal ----

    def test_tab_completes_as_far_as_a_word_is_unique_and_lists_the_rest(self):
        shell = self.open()
        self.assertIn("\n  show   Look at the state of the device\n  shelf\n",
                      self.shown(shell, "SH\t"))
        self.assertIn("\n  lamps  Lamps and who lit them\n  last\n",
                      self.shown(shell, "o\tl\t\t"))
        self.assertIn("line:        show last", self.shown(shell, "s\t\r"))

    def test_question_mark_lists_candidates_without_enter(self):
        shell = self.open()
        self.assertIn("  <INTEGER>[o] (1 to 12)\n  <cr>\n", self.shown(shell, "show lamps ?"))
        self.assertIn("INTEGER=7", self.shown(shell, "7\r"))
        self.assertIn("LINE=why?", self.shown(shell, "lamp 1 / label why\x16?\r"))
        self.assertIn("unknown word 'dim'", self.shown(shell, "dim ?"))
        self.assertIn("\n  unknown word 'dim'", self.shown(shell, "\x15dim?"))

    def test_own_commands_are_completed_and_take_question_marks(self):
        shell = self.open()
        self.assertIn("\n  :leave\n  :list\n", self.shown(shell, ":l\t"))
        self.assertEqual("show lamps", self.shown(shell, "i\tlamps?$\r").strip().split("\n")[1])
        self.assertIn("unknown command ':x'", self.shown(shell, ":x\t\r"))

    def test_bytes_that_are_no_utf8_are_escaped_in_the_prompt_and_not_typed(self):
        self.write("words: {!bytes 'k\\xff': {submode: {mode: !bytes 'm\\xff'}, words: {a: fa}}}")
        shell = self.open()
        shell.send("k\t") # types nothing
        self.shown(shell, "\r", "porch(m\\xff)# ")

    def test_control_characters_of_a_grammar_do_not_reach_the_terminal(self):
        listed = self.shown(self.open(), "?")
        self.assertIn(r"odd    \x1b]0;title\x07", listed)
        self.assertNotIn("\x07", listed)

    def test_words_of_the_levels_above_are_completed_where_none_of_the_submode_fit(self):
        shell = self.open()
        self.shown(shell, "lamp 3\r", "porch(lamp)# ")
        self.assertIn("\n  show   Look at the state of the device\n  shelf\n",
                      self.shown(shell, "s\t\t", "porch(lamp)# "))
        self.assertIn("function:    odd()", self.shown(shell, "\x15o\t\r"))

    def test_of_many_words_five_hundred_are_listed(self):
        self.write("words:\n" + "".join(
            f"  {group}: {{optional: yes, words: {{" +
            ", ".join(f"{group}{n}: f" for n in range(150)) + "}}\n" for group in "abcd"))
        listed = self.shown(self.open(), "?").rstrip().split("\n")
        self.assertEqual("  and 104 more", listed[-1])
        self.assertEqual(502, len(listed))

    def test_submodes_show_in_the_prompt_and_end_with_control_d(self):
        shell = self.open("--no-history")
        self.shown(shell, "shelf 'é'\r", "porch(shelf 'é')# ")
        self.shown(shell, "lamp 3\r", "porch(lamp)# ")
        self.assertIn("lamp_bright(INTEGER=3, INTEGER=80)",
                      self.shown(shell, "b\t80\r", "porch(lamp)# "))
        self.shown(shell, "bri\x03", "porch(lamp)# ")
        self.shown(shell, "\x04")
        shell.send("\x04")
        shell.expect(pexpect.EOF)
        shell.close()
        self.assertEqual(0, shell.exitstatus)
        self.assertFalse(os.path.exists(os.path.join(self.folder, "ocmd")))

    def test_history_is_private_and_keeps_a_thousand_lines(self):
        os.mkdir(os.path.join(self.folder, "ocmd"))
        self.write(HISTORY + "".join(f"lamp\\040{n}\n" for n in range(1100)), "ocmd/try_history")
        shell = self.open()
        self.assertIn("INTEGER=1099", self.shown(shell, "\x1b[A / bright 1\r"))
        shell.kill(9)
        lines = self.history().splitlines()
        self.assertEqual([1001, "lamp\\0401099\\040/\\040bright\\0401"], [len(lines), lines[-1]])
        mode = os.stat(os.path.join(self.folder, "ocmd/try_history")).st_mode
        self.assertEqual(0o600, mode & 0o777)

    def test_history_has_a_private_directory_and_the_lines_of_the_user(self):
        shell = self.open()
        self.assertEqual(0o700, os.stat(os.path.join(self.folder, "ocmd")).st_mode & 0o777)
        for keys in ("odd\r", "  \r", "odd\r", "# odd\r", ":where\r"):
            self.shown(shell, keys)
        self.assertEqual(HISTORY + "odd\n#\\040odd\n:where\n", self.history())

    def test_history_has_the_lines_of_all_shells_in_their_order(self):
        shells = [self.open(), self.open()]
        for shell, line in zip(shells * 2, ("odd", "show last", "lamp", "dim")):
            self.shown(shell, line + "\r")
        with open(os.path.join(self.folder, "ocmd/try_history.lock"), "wb") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            for shell in shells: # both wait
                shell.send("show lamps 1\r")
            time.sleep(0.2)
            self.assertEqual(HISTORY + "odd\nshow\\040last\nlamp\ndim\n", self.history())
        for shell in shells:
            self.assertIn("INTEGER=1", self.shown(shell, ""))
            self.shown(shell, "\x1b[A\x1b[A\r") # the line that it had before
            shell.kill(9)
        self.assertEqual(["show\\040lamps\\0401", "lamp", "dim"],
                         self.history().splitlines()[5:])

    def test_history_is_below_the_home_if_no_state_directory_is_named(self):
        self.env["HOME"] = self.folder
        for named in ("", "relative"):
            self.env["XDG_STATE_HOME"] = named
            shell = self.open()
            self.shown(shell, "odd\r")
            path = os.path.join(self.folder, ".local/state/ocmd/try_history")
            self.assertTrue(os.path.exists(path), named)
            os.remove(path)

    def test_file_that_is_no_history_is_not_replaced(self):
        history = os.path.join(self.folder, "ocmd/try_history")
        os.mkdir(os.path.join(self.folder, "ocmd"))
        self.write("a letter\n", "ocmd/try_history")
        shell = self.open()
        self.assertIn(history + ": history is not kept: not a history\r\n", shell.before)
        self.shown(shell, "odd\r")
        self.assertEqual("a letter\n", self.history())
        os.remove(history)
        os.mkfifo(history)
        self.assertIn("history is not kept: not a regular file", self.open().before)
        os.remove(history)
        shell = self.open()
        os.remove(history)
        os.mkfifo(history)
        self.assertIn("not a regular file", self.shown(shell, "odd\r"))

    def test_without_a_place_for_it_no_history_is_kept(self):
        os.makedirs(os.path.join(self.folder, "ocmd/try_history.lock"))
        self.assertIn("history is not kept: Is a directory", self.shown(self.open(), "odd\r"))
        self.env["XDG_STATE_HOME"] = "/dev/null"
        self.assertIn("history is not kept: Not a directory", self.open().before)
        self.env["XDG_STATE_HOME"] = self.env["HOME"] = ""
        self.assertNotIn("history", self.open().before)

    def test_changed_grammar_is_compiled_at_the_next_prompt_and_a_broken_one_is_not_used(self):
        shell = self.open()
        self.shown(shell, "lamp 3\r", "porch(lamp)# ")
        self.write(GRAMMAR.replace("bright:", "glow:"))
        self.assertIn("loaded again", self.shown(shell, "\r", "porch(lamp)# "))
        self.write(GRAMMAR.replace("command: odd", "comand: odd"))
        self.assertIn("porch.yaml:21:31: error: unknown key 'comand'",
                      self.shown(shell, "\r", "porch(lamp)# "))
        self.assertIn("lamp_bright(INTEGER=3, INTEGER=1)",
                      self.shown(shell, "glow 1\r", "porch(lamp)# "))
        self.write(GRAMMAR.replace("  lamp:\n", "  light:\n"))
        self.assertIn("left 'lamp 3', which enters no submode any more", self.shown(shell, "\r"))

    def test_long_lists_go_through_the_pager(self):
        self.env["PAGER"] = "sed 's/^/| /'"
        shell = self.open(rows=3)
        listed = self.shown(shell, ":list\r").rstrip()
        lines = ("show lamps", "show lamps <INTEGER>[o]", "show last", "lamp <INTEGER>",
                 "lamp <INTEGER> / bright <INTEGER>", "lamp <INTEGER> / label <LINE>",
                 "shelf <STRING>", "shelf <STRING> / dust", "odd")
        self.assertEqual(["| " + line for line in lines], listed.split("\n")[1:])
        self.assertIn("\nshow last", self.shown(shell, ":list last\r"))
        self.env["PAGER"] = "absent -R"
        listed = self.shown(self.open(rows=3), ":list\r").rstrip().split("\n")
        self.assertEqual(["ocmd_try: pager 'absent -R' cannot be run", *lines], listed[1:])

    def test_list_without_end_ends_with_the_pager(self):
        words = "{a: f, b: f}"
        for level in range(40):
            words = f"{{a: {{words: &w{level} {words}}}, b: {{words: *w{level}}}}}"
        self.write("words: " + words)
        self.env["PAGER"] = "head -n 1"
        self.assertEqual(" ".join("a" * 41),
                         self.shown(self.open(), ":list\r").split("\n")[1].rstrip())

    def test_the_documented_run_shows_what_the_shell_shows(self):
        self.write(re.search("^```yaml porch.yaml\n(.*?)^```", self.read_source("README.md"),
                             re.M | re.S)[1])
        shell = self.open("--no-history")
        blocks = re.findall("^```(sh|console)\n(.*?)^```", self.read_source("doc/try.md"),
                            re.M | re.S)
        self.assertEqual(5, len(blocks))
        for kind, block in blocks:
            if kind == "sh":
                self.run_program("sh", "-c", block)
                continue
            typed = ""  # what is in the line already
            for line, answer in re.findall(r"^porch\S*# (.*)\n((?:(?!porch\S*# ).*\n)*)", block,
                                           re.M):
                is_list = line.endswith("?")
                shell.send(line[len(typed):] + ("" if is_list else "\r"))
                typed = line[:-1] if is_list else ""
                shell.expect([r"\n\r?porch\S*# ", pexpect.EOF])
                shown = shell.before.replace("\r", "\n").partition("\n")[2]
                self.assertEqual(answer.split("\n")[:-1], [row for row in shown.split("\n") if row])

    # ---- In scripts ----

    def test_answers_are_those_of_ocmd_find(self):
        lines = ["sh lamps 12", "lamp 3 / bright 120", "sho", "la 3", "show lamps 1 2", "nothing",
                 "show la", "lamp 3 / label a  b", 'shelf "a b"  / dust', "odd", '"', 'odd "']
        for line in lines:
            ours = self.run_program("ocmd_try", "porch.yaml", lines=line + "\n")
            self.run_program("ocmd_compile", "--main", "porch.yaml")
            theirs = self.run_program("ocmd_find", "porch.par", line)
            fields = "^(command|line|help|mode|submode): +(.*)"
            with self.subTest(line):
                self.assertEqual((theirs.returncode, theirs.stderr.replace("_find", "_try")),
                                 (ours.returncode, ours.stderr))
                self.assertEqual(re.findall(fields, theirs.stdout, re.M),
                                 re.findall(fields, ours.stdout, re.M))

    def test_lines_and_commands_have_the_documented_answers(self):
        self.write(self.read_source("tests/grammars/gate.yaml"), "gate.yaml")
        for section in self.read_source("tests/transcripts/shell.txt").split("## ")[1:]:
            grammar, dialogue = section.split("\n", 1)
            typed = "".join(re.findall("^> (.*\n)", dialogue, re.M))
            run = self.run_program("sh", "-c", f"ocmd_try {grammar} 2>&1", lines=typed)
            self.assertEqual((re.sub("^> .*\n", "", dialogue, flags=re.M), 1),
                             (run.stdout, run.returncode))

    def test_grammar_that_is_gone_is_told_and_the_last_version_stays(self):
        run = self.run_program("ocmd_try", "porch.yaml",
                               lines=":save porch.par\n:reload\r\nodd\r\n")
        self.assertEqual((0, True), (run.returncode, "odd()" in run.stdout))
        shell = subprocess.Popen(["sh", "-c", "ocmd_try porch.par 2>&1; echo $?"], cwd=self.folder,
                                 env=self.env, text=True, stdin=subprocess.PIPE,
                                 stdout=subprocess.PIPE)
        shell.stdin.write("odd\n")
        shell.stdin.flush()
        while "odd()" not in shell.stdout.readline():
            pass
        os.remove(os.path.join(self.folder, "porch.par"))
        out = shell.communicate(":reload\nodd\n")[0]
        self.assertRegex(out, r"porch\.par: cannot be .*\n(.*\n)*.*odd\(\)\n1\n$")

    def test_single_mode_enters_no_submode(self):
        run = self.run_program("ocmd_try", "--single", "porch.yaml", lines="lamp 3\nlabel x\n")
        self.assertEqual((1, True), (run.returncode, "unknown word 'label'" in run.stderr))
        self.assertNotIn("submode:", run.stdout)

    def test_no_more_than_255_submodes_are_entered(self):
        count = 257
        self.write("words: " + "".join(f"{{w{n}: {{submode: yes, words: " for n in range(count)) +
                   "{odd: f}" + "}}" * count)
        run = self.run_program("ocmd_try", "porch.yaml",
                               lines="\n".join(f"w{n}" for n in range(count)) + "\n\n:where\n")
        self.assertIn("more than 255 submodes inside one another", run.stderr)
        self.assertEqual((1, 255), (run.returncode, run.stdout.count(" /\n")))

    def test_grammars_are_linked_as_ocmd_link_does(self):
        switch = os.path.join(SOURCE, "examples/switch")
        self.run_program(os.path.join(switch, "make.sh"), "switch")
        grammars = [os.path.join(switch, name) for name in sorted(os.listdir(switch))
                    if name.endswith(".yaml")]
        run = self.run_program("ocmd_try", "-p", "switch", *grammars,
                               lines=":find take_bay_plain\n:save saved.par\n")
        self.assertEqual((0, "arrange / bay <INTERFACEINTERFACE RANGE> / lanes / take-back plain"
                             "  take_bay_plain_lane_back()\n"), (run.returncode, run.stdout))
        with open(os.path.join(self.folder, "saved.par"), "rb") as saved, \
                open(os.path.join(self.folder, "switch/main.par"), "rb") as linked:
            self.assertEqual(linked.read(), saved.read())
        run = self.run_program("ocmd_try", *grammars)
        self.assertEqual((1, True), (run.returncode, "attic" in run.stderr))

    def test_wrong_use_and_wrong_commands_are_reported(self):
        for operands, message in (([], "missing operand"), (["-"], "must be a file"),
                                  (["a.yaml", "b.par"], "b.par: several files"),
                                  (["none.par"], "none.par: cannot be")):
            run = self.run_program("ocmd_try", *operands)
            self.assertIn(message, run.stderr)
            self.assertEqual((0, 2), (len(run.stdout), run.returncode))
        for closed in ("<&-", ">&-"):
            run = self.run_program("sh", "-c", f"ocmd_try porch.yaml {closed}", lines="odd\n")
            self.assertEqual((2, ""), (run.returncode, run.stdout), closed)
        for line, message in ((":list (", "invalid regular expression"),
                              (":find (", "invalid regular expression"), (":x", "unknown command"),
                              (":save /", "/: cannot be written"), (":top up", "takes no operand"),
                              (":save ./porch.yaml", "is both input and output"),
                              (":leave", "no submode to leave")):
            run = self.run_program("ocmd_try", "porch.yaml", lines=line + "\nodd\n")
            self.assertIn(message, run.stderr)
            self.assertEqual((1, True), (run.returncode, "odd()" in run.stdout))


if __name__ == "__main__":
    unittest.main()
