#!/usr/bin/env python3
"""Renews the pictures of the page of ocmd_show --html in doc/: write-screenshots.py PAGE, the page of
examples/switch. Needs the packages of the group "browser", and pngquant."""
import os
import subprocess
import sys

from selenium import webdriver
from selenium.webdriver.chrome.service import Service

FOLDER = os.path.join(os.path.dirname(__file__), "..", "doc")
LINK = "#arrange/bay/%3CINTERFACE%20%7C%20INTERFACE%20RANGE%3E/credits/%3CINTEGER%3E"

options = webdriver.ChromeOptions()
options.binary_location = "/usr/bin/chromium"
for option in ("--headless=new", "--no-sandbox", "--hide-scrollbars", "--window-size=1100,830"):
    options.add_argument(option)
with webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver")) as browser:
    for scheme in ("light", "dark"):
        browser.execute_cdp_cmd("Emulation.setEmulatedMedia",
                                {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
        browser.get(f"file://{os.path.abspath(sys.argv[1])}{LINK}")
        subprocess.run(["pngquant", "64", "-"], input=browser.get_screenshot_as_png(), check=True,
                       stdout=open(os.path.join(FOLDER, f"page-{scheme}.png"), "wb"))
