#!/usr/bin/env python3
"""Checks the site: every link inside it, that nothing comes from elsewhere, and three pages in a browser.

usage: check_site.py FOLDER
"""

import re
import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urldefrag

from selenium import webdriver
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

SITE = Path(sys.argv[1]).resolve()


class Page(HTMLParser):
    """The names of a page's places, what it refers to, and what it loads."""

    def __init__(self, path):
        super().__init__()
        self.places, self.links, self.loads = {""}, [], []
        self.feed(path.read_text())

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        self.places |= {attributes.get("id"), attributes.get("name")}
        target = attributes.get("href") or attributes.get("src")
        if target:
            self.links.append(target)
            if tag in ("script", "img", "link", "iframe"):
                self.loads.append(target)


def faults():
    """What is wrong with links, a text for each."""
    pages = {path: Page(path) for path in SITE.rglob("*.html")}
    for path, page in pages.items():
        name = path.relative_to(SITE)
        for link in page.links:
            if re.match(r"[a-z]+:|//", link):
                if link in page.loads and not link.startswith("data:"):
                    yield f"{name} loads {link}"
                continue
            file, place = urldefrag(re.sub(r"\?[^#]*", "", unquote(link)))
            target = (path.parent / file).resolve() if file else path
            if not target.exists():
                yield f"{name}: no file {link}"
            elif target in pages and place not in pages[target].places:
                yield f"{name}: no place {link}"
    for path in SITE.rglob("*.css"):
        for link in re.findall(r"(?:url\(|@import )['\"]?((?:https?:)?/[^)'\"]*)", path.read_text()):
            yield f"{path.relative_to(SITE)} loads {link}"


def browser():
    options = webdriver.ChromeOptions()
    for argument in ("--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    return webdriver.Chrome(options=options)


def look(driver, address, ready):
    """Opens a page, waits until it is ready, and returns what is wrong with it."""
    driver.get(f"{SITE.as_uri()}/{address}")
    WebDriverWait(driver, 30).until(ready)
    images = driver.find_elements(By.TAG_NAME, "img")
    broken = [image.get_attribute("src") for image in images
              if not driver.execute_script("return arguments[0].complete && arguments[0].naturalWidth > 0", image)]
    console = [entry["message"] for entry in driver.get_log("browser")]
    return [f"{address}: {text}" for text in [*(f"picture {src} does not load" for src in broken), *console]], len(images)


def main():
    wrong = list(faults())
    driver = browser()
    try:
        loaded = lambda driver: driver.execute_script("return document.readyState") == "complete"
        for address, least in [("index.html", 1), ("docs/choosing.html", 15)]:
            told, images = look(driver, address, loaded)
            wrong += told + [f"{address} has {images} pictures"] * (images < least)
        found = lambda driver: driver.find_elements(By.CSS_SELECTOR, "#search-results a[href*='docs/ends.html']")
        wrong += look(driver, "search.html?q=not-a-knot", found)[0]
    finally:
        driver.quit()
    if wrong:
        sys.exit("\n".join(wrong))
    print(f"{sum(1 for _ in SITE.rglob('*.html'))} pages: links, pictures, console and search are right")


if __name__ == "__main__":
    main()
