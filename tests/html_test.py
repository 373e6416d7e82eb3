#!/usr/bin/env python3
"""The page of ocmd_show --html: html_test.py text|browser PROGRAMS SOURCE. "text" reads the file;
"browser" opens it in Chromium, and is skipped (77) where there is none, unless BROWSER=required."""
import base64
import hashlib
import html.parser
import http.server
import json
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import urllib.parse

KIND, PROGRAMS, SOURCE = (sys.argv.pop(1) for _ in range(3))
HOSTILE = ['</script><script>alert(1)</script>', '<img src=x onerror=alert(2)>', '</noscript><b>', '<!--',
           '"\'&amp;\\u003c', '{{data}}', '\u202egnp.exe', 'a\u2028b', 'a\u200bb', '\x1b[31m', '\x85', '\ufdd0', '\U000e0041']
SHOWN = HOSTILE[:6] + [r'\u202egnp.exe', r'a\u2028b', r'a\u200bb', r'\x1b[31m', r'\xc2\x85', r'\ufdd0', r'\u{e0041}']


class Elements(html.parser.HTMLParser):
    """The elements of a page with their attributes and the text before the next tag."""

    def __init__(self, page):
        super().__init__()
        self.found = [("", {}, "")]
        self.feed(page)

    def handle_starttag(self, tag, attrs):
        self.found.append((tag, dict(attrs), ""))

    def handle_endtag(self, tag):
        self.found.append(("", {}, ""))

    def handle_data(self, data):
        tag, attrs, text = self.found.pop()
        self.found.append((tag, attrs, text + data))

    def texts(self, tag):
        return [text for name, _, text in self.found if name == tag]


def node(name, token="", children=(), flags=0, text="", function=""):
    record = bytearray(1000)
    for offset, value in ((0, name), (64, token), (96, text), (208, function)):
        record[offset:offset + len(value.encode())] = value.encode()
    struct.pack_into("<I", record, 332, flags)
    struct.pack_into(f"<H{len(children)}H", record, 566, len(children), *children)
    return bytes(record)


class PageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(scratch.cleanup)
        cls.folder = scratch.name
        made = cls.run_program(SOURCE + "/examples/switch/make.sh", "switch")
        assert made.returncode == 0, made.stderr
        cls.example = cls.page("switch/main.par")

    @classmethod
    def run_program(cls, *command):
        env = dict(os.environ, PATH=PROGRAMS + ":" + os.environ["PATH"])
        return subprocess.run(command, cwd=cls.folder, env=env, capture_output=True, check=False, timeout=60)

    @classmethod
    def page(cls, tree, *options, name="page.html"):
        made = cls.run_program("ocmd_show", "--html", *options, tree)
        assert (made.returncode, made.stderr) == (0, b""), made.stderr
        with open(os.path.join(cls.folder, name), "wb") as file:
            file.write(made.stdout)
        return made.stdout.decode()

    @classmethod
    def write_tree(cls, *records):
        with open(os.path.join(cls.folder, "made.par"), "wb") as file:
            file.write(b"".join(records))
        return "made.par"

    @classmethod
    def hostile_page(cls):
        words = [node(f"n{i}", f"word{i}", text=text, function=text, flags=4) for i, text in enumerate(HOSTILE)]
        words.append(node("<i>", "<b onclick=alert(3)>", flags=4))
        tree = cls.write_tree(node("root", children=range(1, len(words) + 1), text="</title><s>"), *words)
        return cls.page(tree, name="hostile.html")

    @classmethod
    def odd_page(cls):
        """Words that are alike, missing, special in links, names in the page, and below several words."""
        words = [("show",), ("show",), ("", [11]), ("", [12]), ("app",), ("wait",), ("a/b",),
                 ("n5",), (":1",), ("first", [13]), ("x~y/z",), ("tree",), ("both", [15]), ("second", [13]), ("more",)]
        nodes = [node(f"n{i}", word, *more, flags=4 * (word == "more")) for i, (word, *more) in enumerate(words, 1)]
        return cls.page(cls.write_tree(node("root", children=[*range(1, 11), 14, 13]), *nodes), name="odd.html")

    @classmethod
    def long_page(cls):
        return cls.page(cls.write_tree(*(node(f"n{i}", "w", [i + 1][:26 - i]) for i in range(27))), name="long.html")

    @classmethod
    def ids(cls, page):
        return [attrs["id"] for _, attrs, _ in Elements(page).found if "id" in attrs]

    @classmethod
    def commands(cls, tree="switch/main.par"):
        lines = cls.run_program("ocmd_show", "--commands", tree).stdout.decode().splitlines()
        return {plain(line) for line in lines}


def plain(line):
    """A line without what listings and pages write differently: several types, optional words."""
    return line.replace(" | ", "").replace("> <", "><").replace("[o]", "")


class TextTest(PageTest):
    def compiled(self, name):
        self.run_program("ocmd_compile", "-o", f"switch/{name}.par", f"{SOURCE}/examples/switch/{name}.yaml")
        return f"switch/{name}.par"

    def data(self, page):
        outside = re.sub("<noscript>.*?</noscript>", "", page, flags=re.S)
        return json.loads(Elements(outside).texts("script")[0])

    def test_runs_only_its_script_and_requests_nothing(self):
        page = Elements(self.example)
        policy = next(attrs["content"] for _, attrs, _ in page.found if "http-equiv" in attrs)
        hashes = ["sha256-" + base64.b64encode(hashlib.sha256(content.encode()).digest()).decode()
                  for content in (page.texts("script")[1], page.texts("style")[0])]
        self.assertEqual(policy, "default-src 'none'; script-src '{}'; style-src '{}'; img-src data:; "
                                 "base-uri 'none'; form-action 'none'".format(*hashes))
        attributes = [pair for _, attrs, _ in page.found for pair in attrs.items()]
        self.assertEqual({value for name, value in attributes if name in ("src", "href") and value[0] != "#"},
                         {"data:,"})
        self.assertEqual({name for name, _ in attributes if name.startswith("on")}, set())

    def test_escapes_every_text(self):
        page = self.hostile_page()
        elements = Elements(page)
        self.assertLessEqual({tag for tag, _, _ in elements.found},
                             {tag for tag, _, _ in Elements(self.example).found})
        self.assertEqual([text for text in elements.texts("dd") if text in SHOWN], SHOWN)
        data = self.data(page)
        self.assertEqual(data["title"], "</title><s>")
        self.assertEqual([(one["help"], one["function"]) for one in data["nodes"][:-1]], [(text, text) for text in SHOWN])
        self.assertEqual(data["nodes"][-1]["word"], "<b onclick=alert(3)>")
        raw = self.write_tree(node("root", children=[1]), node("n", "w").replace(b"w\0", b"\xff\0", 1))
        data = self.data(self.page(self.folder + "/" + raw))
        self.assertEqual((data["title"], data["nodes"][0]["word"]), (raw, r"\xff"))

    def test_has_every_node_once(self):
        levels = 40 # of two words each, so that 2^40 lines end at the last ones
        below = [[2 * i + 1, 2 * i + 2] for i in range(levels)] + [[]]
        words = [node(f"n{i}", f"w{i}", below[(i + 1) // 2], flags=4) for i in range(1, 2 * levels + 1)]
        page = self.page(self.write_tree(node("root", children=below[0]), *words))
        self.assertEqual((len(Elements(page).texts("article")), len(self.data(page)["nodes"])), (80, 80))
        chain = [node(f"n{i}", "w" * 31, [i + 1][:9999 - i]) for i in range(10000)]
        self.assertLess(len(self.page(self.write_tree(*chain))), 20000000)

    def test_reference_has_every_command(self):
        compared = 0
        for tree in ("clock", "lanes", "ledger", "quilt", "relay", "files"): # without shared nodes
            page = self.page(self.compiled(tree))
            headings = re.findall("<h[23] id=[^>]*>(.*?)</h[23]>(.*?)</article>", page)
            lines = {plain(html.unescape(line)) for line, rest in headings if "needs more words" not in rest}
            self.assertEqual(lines, self.commands(f"switch/{tree}.par"))
            compared += len(lines)
        self.assertGreaterEqual(compared, 100)
        self.assertIn("show/bays/<INTERFACE>/counters", self.ids(self.example))
        shared = re.search(r'<h3 id="(:\d+)">show bays &lt;INTERFACE&gt;\[o]</h3>', self.example)[1]
        self.assertRegex(self.example, f'>show bays busy</h3>.*Also followed by '
                                       f'<a id="show/bays/busy/&lt;INTERFACE&gt;" href="#{shared}">')

    def test_ids_are_unique(self):
        self.assertEqual(self.ids(self.odd_page()), [
            "both", "show", ":0", "show~2", ":1", "~1", ":2", "~1/x%7Ey%2Fz", ":3", "~2", ":4", "~2/tree", ":5",
            "app", ":6", "wait", ":7", "a%2Fb", ":8", "n5", ":9", "%3A1", ":10", "first", ":11",
            "first/both", ":12", "first/both/more", ":13", "second", ":14", "second/both", "~results"])
        self.assertEqual(self.ids(self.long_page())[-5:], ["/".join("w" * 24), ":23", ":24", ":25", "~results"])
        ids = self.ids(self.example)
        self.assertEqual(len(ids), len(set(ids)))

    def test_shows_a_part(self):
        nodes = self.data(self.page("switch/main.par", "--below", "show bays busy"))["nodes"]
        self.assertEqual([one["word"] for one in nodes],
                         ["show", "bays", "busy", "<INTERFACE>", "wear", "light", "counters", "brief"])
        bays = self.data(self.page(self.compiled("bays")))
        self.assertEqual([(bays["nodes"][i]["word"], path) for i, path in zip(bays["first"], bays["attach"])],
                         [("bays", "show"), ("bay", "arrange"), ("counters", "wipe")])
        for options, status in (("--below=no switch/main.par", 1), ("switch/main.par switch/bays.par", 2)):
            self.assertEqual(self.run_program("ocmd_show", "--html", *options.split()).returncode, status)

    def test_explains_values_in_words(self):
        nodes = {one["name"]: one for one in self.data(self.example)["nodes"]}
        self.assertEqual(nodes["bay_mode"] | {"next": 0}, {
            "word": "<INTERFACE | INTERFACE RANGE>", "help": "Which bays", "submode": "Bay", "mode": "bay",
            "permissions": "1", "interfaces": "0, 3, 18, 19", "name": "bay_mode", "next": 0,
            "values": [{"is": "an interface or a range of interfaces", "example": "1/1"}]})
        values = {value["is"] for one in nodes.values() for value in one.get("values", ())}
        self.assertLessEqual({"a number, 576 to 9216", "a string, at most 24 bytes", "a line of text"}, values)

    def test_spells_sets_and_bounds_and_is_called_as_its_root_or_file(self):
        with open(os.path.join(self.folder, "spelt.yaml"), "w", encoding="utf-8") as file:
            file.write("words: {a: {permissions: [0, 1, 2, 4, 5, 63], words: {<STRING>: {length: 1, command: f}, "
                       "<INTEGER>: {min: 5, command: f}}}}")
        self.run_program("ocmd_compile", "--main", "spelt.yaml")
        page = self.page("./spelt.par")
        nodes = {one["word"]: one for one in self.data(page)["nodes"]}
        self.assertEqual("0 to 2, 4, 5, 63", nodes["a"]["permissions"])
        self.assertEqual(["a string, at most 1 byte", "a number, at least 5"],
                         [nodes[word]["values"][0]["is"] for word in ("<STRING>", "<INTEGER>")])
        self.assertEqual(["spelt.par"], Elements(page).texts("title"))
        self.assertEqual(["</title><s>"], Elements(self.hostile_page()).texts("title"))


class Server(http.server.ThreadingHTTPServer):
    """Serves a folder with a strict policy, and records the requests."""

    def __init__(self, folder):
        self.requests = requests = []

        class Handler(http.server.SimpleHTTPRequestHandler):
            def __init__(self, *arguments):
                super().__init__(*arguments, directory=folder)

            def end_headers(self):
                self.send_header("X-Content-Type-Options", "nosniff")
                self.send_header("Cross-Origin-Resource-Policy", "same-origin")
                super().end_headers()

            def log_message(self, *_):
                requests.append(self.path)

        super().__init__(("127.0.0.1", 0), Handler)
        threading.Thread(target=self.serve_forever, daemon=True).start()


class BrowserTest(PageTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        options = webdriver.ChromeOptions()
        options.binary_location = CHROMIUM
        for option in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                       "--disable-ipc-flooding-protection"):
            options.add_argument(option)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        cls.browser = webdriver.Chrome(options=options, service=Service(DRIVER))
        cls.addClassCleanup(cls.browser.quit)
        cls.browser.set_script_timeout(60)

    def setUp(self):
        self.visit()

    def tearDown(self): # errors of scripts, violations of the policy
        self.assertEqual([entry["message"] for entry in self.browser.get_log("browser")], [])

    def visit(self, link="", page="page.html"):
        self.browser.get("about:blank")
        self.browser.get(f"file://{self.folder}/{page}{link}")

    def run_script(self, script, *arguments):
        return self.browser.execute_script(script, *arguments)

    def press(self, *keys):
        self.browser.switch_to.active_element.send_keys(*keys)

    def all(self, selector):
        return [one.text for one in self.browser.find_elements("css selector", selector)]

    def line(self):
        return self.run_script("return document.querySelector('.detail h1').textContent")

    def expect_link(self, link):
        address = lambda _: self.run_script("return decodeURIComponent(location.hash)")
        WebDriverWait(self.browser, 10, 0.02).until(lambda _: address(_) == link, address(0))

    def test_opens_and_requests_nothing(self):
        server = Server(self.folder)
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        for base in (f"file://{self.folder}", f"http://127.0.0.1:{server.server_port}"):
            self.browser.get(base + "/page.html#show/bays")
            self.assertEqual((self.browser.title, self.line()), ("show bays – Tarn 48", "show bays"))
        self.assertEqual(server.requests, ["/page.html"])

    def test_links_lead_to_every_command(self):
        lines = self.browser.execute_async_script("""
            const done = arguments[0], lines = [];
            const follow = async (link) => {
              const changed = new Promise((resolve) => addEventListener('hashchange', resolve, {once: true}));
              location.hash = link;
              await changed;
              const heading = document.querySelector('.detail h1').textContent;
              const next = document.querySelectorAll('.detail h2 + ul a');
              const links = [...next].map((one) => one.hash).filter((one) => one.startsWith(link + '/'));
              if (document.querySelector('.detail dd').textContent !== 'needs more words') lines.push(heading);
              for (const one of links) await follow(one);
            };
            (async () => {
              const first = [...document.querySelectorAll('.detail ul a')].map((one) => one.hash);
              for (const link of first) await follow(link);
              done(lines);
            })();""")
        self.assertEqual({plain(line) for line in lines}, self.commands())
        self.assertEqual(len(lines), len(set(lines)))

    def test_shows_a_command(self):
        self.visit("#arrange/bay/<INTERFACE | INTERFACE RANGE>/frame<INTEGER>")
        self.assertEqual(self.line(), "arrange / bay <INTERFACE | INTERFACE RANGE> / frame<INTEGER>")
        self.assertEqual(self.all(".detail dd"), ["complete", "a number, 576 to 9216, such as 576", "bay_frame",
                                                  "bay_mode.frame<INTEGER>"])
        self.visit("#show/bays/busy/<INTERFACE>")
        self.assertIn("may be left out", self.all(".detail dd"))
        self.browser.find_element("link text", "show bays <INTERFACE>[o]").click()
        self.expect_link("#show/bays/<INTERFACE>")
        self.assertEqual(self.all(".tree [aria-selected=true] .word"), ["<INTERFACE>[o]"])
        self.browser.back()
        self.assertEqual(self.line(), "show bays busy <INTERFACE>[o]")
        for wrong in ("#shwo", "#show/bays~2", "#:99999", "#%", "#show/%E0"):
            self.visit(wrong)
            self.assertEqual(self.all("[role=alert] .word"), [wrong[1:]])

    def test_links_lead_to_odd_words_also_without_scripts(self):
        self.odd_page()
        lines = {"#show": "show", "#show~2": "show", "#~1": "n3", "#~1/x%7Ey%2Fz": "x~y/z", "#~2/tree": "tree", "#app": "app",
                 "#wait": "wait", "#a%2Fb": "a/b", "#n5": "n5", "#%3A1": ":1", "#:1": "show", "#both": "both",
                 "#first/both/more": "first both more", "#second/both": "second both"}
        nodes = []
        for link, line in lines.items():
            self.visit(link, "odd.html")
            self.assertEqual(self.line(), line)
            nodes.append(self.all(".detail dd")[-1])
        self.long_page()
        self.visit("#:23", "long.html")
        self.assertEqual(self.browser.find_element("css selector", ".detail ul a").get_attribute("hash"), "#:24")
        self.assertEqual(nodes, ["n1", "n2", "n3", "n11", "n12", "n5", "n6", "n7", "n8", "n9", "n2", "n13", "n15", "n13"])
        self.disable_scripts()
        for link, line in lines.items():
            self.visit(link, "odd.html")
            self.assertEqual(self.all(":target")[0].split("\n")[0], line.replace("second ", ""), link)
        self.browser.find_element("css selector", ":target").click() # the link to the entry of a shared word
        self.assertEqual(self.all(":target"), ["first both"])
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "print"})
        self.addCleanup(self.browser.execute_cdp_cmd, "Emulation.setEmulatedMedia", {"media": ""})
        self.assertEqual(len([line for line in self.all("article") if line]), 15)

    def test_keys_move_in_the_tree(self):
        self.press(Keys.ARROW_DOWN) # from the first word
        self.assertEqual(self.line(), "bench")
        self.press("/", "no such thing", Keys.ENTER, Keys.ESCAPE, Keys.ARROW_DOWN)
        self.press("s")
        self.assertEqual(self.line(), "show")
        self.press(Keys.ARROW_RIGHT)
        self.press(Keys.ARROW_RIGHT)
        self.press(Keys.ARROW_DOWN)
        self.expect_link("#show/bays")
        self.press(Keys.ENTER)
        focused = self.browser.switch_to.active_element
        self.assertEqual([focused.get_attribute(name) for name in (
            "role", "aria-level", "aria-posinset", "aria-setsize", "aria-expanded", "aria-selected")],
            ["treeitem", "2", "2", "20", "true", "true"])
        self.press(Keys.ARROW_DOWN)
        self.expect_link("#show/bays/<INTERFACE>")
        self.press(Keys.ARROW_LEFT)
        self.press(Keys.ARROW_LEFT)
        self.press(Keys.ARROW_LEFT)
        self.expect_link("#show")
        self.assertEqual(len(self.all(".tree li")), 32)
        self.press("*")
        self.assertGreater(len(self.all(".tree li")), 60)
        self.press(Keys.END)
        self.press(Keys.HOME)
        self.expect_link("#attic")
        for line, leave in (("show", "document.querySelector('.detail h1 a').click()"), ("keep", "location.hash = 'keep'")):
            self.visit("#show")
            self.press("/", Keys.ARROW_DOWN, Keys.ARROW_RIGHT)
            self.run_script("document.activeElement.dispatchEvent(new KeyboardEvent('keydown', "
                            "{key: 'ArrowDown', bubbles: true}));" + leave) # before the address has changed
            time.sleep(.3)
            self.assertEqual((self.line(), self.run_script("return location.hash")), (line, "#" + line))
        self.assertEqual(len(self.browser.find_elements("css selector", ".tree [tabindex='0']")), 1)
        nodes = self.browser.execute_cdp_cmd("Accessibility.getFullAXTree", {})["nodes"]
        roles = [(one["role"]["value"], one["name"]["value"]) for one in nodes if not one["ignored"] and "name" in one]
        self.assertLessEqual({("tree", "Tree of commands"), ("treeitem", "keep Start with these lines next time"),
                              ("searchbox", "Search words, help and functions")}, set(roles))

    def test_searches_as_one_types(self):
        self.press("/")
        counts = []
        for typed in "frame":
            self.press(typed)
            counts.append(int(self.all(".status")[0].split()[0]))
        self.assertEqual(counts, sorted(counts, reverse=True))
        self.assertEqual(self.all(".results a")[0], "arrange / bay <INTERFACE | INTERFACE RANGE> / frame<INTEGER>\n"
                                                   "Longest frame in bytes – bay_frame")
        self.press(Keys.ESCAPE, "BAY speed")
        self.assertEqual(self.all(".results mark")[:2], ["bay", "speed"])
        self.assertEqual(self.all(".status"), [f"{len(self.all('.results li'))} results"])
        self.press(Keys.ESCAPE, "take_bay_label_back") # a function
        self.press(Keys.ENTER)
        self.expect_link("#arrange/bay/<INTERFACE | INTERFACE RANGE>/take-back/label")
        self.press("/", "how worn medium") # help
        self.press(Keys.ARROW_DOWN)
        self.press(Keys.ENTER)
        self.assertEqual(self.line(), "show bays <INTERFACE>[o] wear")
        self.odd_page()
        self.visit("", "odd.html")
        for query, lines in (("first more", ["first both more"]), ("second more", ["second both more"]), ("first second both", [])):
            self.press("/", Keys.ESCAPE, query)
            self.assertEqual((self.all(".results a"), self.all(".status")),
                             (lines, [f"{len(lines)} result" + "s" * (not lines)]))

    def test_start_counts_words(self):
        for nodes, flags, text in ((1, 0, "1 word; none completes a command."), (1, 4, "1 word; it completes a command."),
                                   (2, 4, "2 words; 1 of them completes a command.")):
            words = [node("a", "a", flags=flags), node("b", "b")][:nodes]
            self.page(self.write_tree(node("root", children=range(1, nodes + 1)), *words), name="few.html")
            self.visit("", "few.html")
            self.assertEqual(self.all(".detail .help")[0], text)
        self.visit()
        self.assertEqual(self.all(".detail .help")[0], "505 words; 309 of them complete a command; mode entry.")

    def test_hostile_texts_stay_texts(self):
        self.hostile_page()
        for i, text in enumerate(SHOWN):
            self.visit(f"#word{i}", "hostile.html")
            self.assertEqual(self.run_script("return document.querySelector('.detail > .help').textContent"), text)
        self.assertEqual(self.browser.title, f"word{i} – </title><s>")
        self.visit("#" + urllib.parse.quote("<b onclick=alert(3)>"), "hostile.html")
        self.press("/", "<")
        self.run_script("dispatchEvent(new Event('beforeprint'))")
        self.assertEqual(self.run_script("return document.querySelectorAll('b, s, img, [onclick]').length"), 0)

    def test_prints_every_node_once(self):
        self.run_script("addEventListener('beforeprint', () => { window.printed = ['.printed article', '.printed #\\\\:0']"
                        ".map((one) => document.querySelectorAll(one).length); })")
        self.assertGreater(len(self.browser.print_page()), 100000)
        self.assertEqual(self.run_script("return window.printed"), [505, 1])
        self.assertEqual(self.run_script("return document.querySelectorAll('article').length"), 0)

    def disable_scripts(self):
        self.browser.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": True})
        self.addCleanup(self.browser.execute_cdp_cmd, "Emulation.setScriptExecutionDisabled", {"value": False})

    def test_lists_all_without_scripts(self):
        self.disable_scripts()
        self.visit("#show/bays/%3CINTERFACE%3E")
        self.assertEqual(len(self.browser.find_elements("css selector", "article")), 505)
        self.assertEqual(self.all(":target h3"), ["show bays <INTERFACE>[o]"])
        self.assertEqual(self.all(".wait"), [""])

    def test_colours_are_readable_in_both_schemes(self):
        backs = set()
        for scheme in ("light", "dark"):
            self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia",
                                         {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
            colours = self.run_script("""
                const style = getComputedStyle(document.documentElement);
                return Object.fromEntries(['back', 'side', 'hover', 'chosen', 'text', 'quiet', 'link', 'value']
                  .map((name) => [name, style.getPropertyValue('--' + name).trim()]));""")
            backs.add(colours["back"])
            for front in ("text", "quiet", "link", "value"):
                for back in ("back", "side", "hover", "chosen"):
                    self.assertGreaterEqual(contrast(colours[front], colours[back]), 4.5, (scheme, front, back))
        self.assertEqual(len(backs), 2)

    def test_searches_60000_nodes_in_50_ms(self):
        first, second, third = range(1, 101), range(101, 10101), range(10101, 60101)
        self.page(self.write_tree(
            node("root", children=first),
            *(node(f"a{i}", f"shelf{i}", second[100 * i:100 * i + 100]) for i in range(100)),
            *(node(f"b{i}", f"lamp{i % 100}", third[5 * i:5 * i + 5], 4, f"Lamp {i}", f"show_lamp_{i}")
              for i in range(10000)),
            *(node(f"c{i}", f"bright-{i % 5}", (), 4, "How bright", f"lamp_bright_{i}") for i in range(50000))),
            name="large.html")
        self.visit("#shelf99/lamp7", "large.html")
        self.assertEqual(self.line(), "shelf99 lamp7")
        times = self.run_script("""
            const search = document.querySelector('.search');
            const query = 'lamp77 shelf5';
            return [...query].map((_, i) => Math.min(...[0, 1, 2].map(() => {
              search.value = query.slice(0, i + 1);
              const start = performance.now();
              search.dispatchEvent(new Event('input'));
              document.body.offsetHeight; // the layout is done
              return performance.now() - start;
            })));""")
        print("milliseconds after each letter:", *(round(time, 1) for time in times))
        self.assertLess(max(times), 50)
        self.assertEqual(self.all(".results li:first-child a > .word"), ["shelf5", "lamp77"])


def contrast(one, other):
    """The contrast ratio of two colours #rrggbb."""
    def luminance(colour):
        parts = [int(colour[i:i + 2], 16) / 255 for i in (1, 3, 5)]
        linear = [part / 12.92 if part <= 0.04045 else ((part + 0.055) / 1.055) ** 2.4 for part in parts]
        return sum(part * weight for part, weight in zip(linear, (0.2126, 0.7152, 0.0722)))
    low, high = sorted((luminance(one), luminance(other)))
    return (high + 0.05) / (low + 0.05)


if __name__ == "__main__":
    if KIND == "browser":
        try:
            from selenium import webdriver
            from selenium.webdriver.chrome.service import Service
            from selenium.webdriver.common.keys import Keys
            from selenium.webdriver.support.wait import WebDriverWait
        except ImportError:
            webdriver = None
        CHROMIUM, DRIVER = shutil.which("chromium"), shutil.which("chromedriver")
        if not (webdriver and CHROMIUM and DRIVER) and os.environ.get("BROWSER") != "required":
            print("skipped: no chromium, chromedriver or selenium")
            sys.exit(77)
    unittest.main(defaultTest="TextTest" if KIND == "text" else "BrowserTest")
