"""Narrow and wide, dark and light, still and moving."""

import unittest

import board
from browser import DESKTOP, PHONE, PageTest

# What reaches beyond the window's right edge.
TOO_WIDE = """
const limit = document.documentElement.clientWidth;
const wide = [...document.querySelectorAll('body *')].filter((each) => {
    const box = each.getBoundingClientRect();
    return box.width > 1 && box.right > limit + 0.5 && each.checkVisibility()
        && !each.closest('thead');
});
return [...wide.map(each => each.outerHTML.slice(0, 80)),
    ...(document.documentElement.scrollWidth > limit ? ['the page scrolls'] : [])];
"""

# Texts whose colour does not stand out from what is behind it by 4.5 (WCAG 2.1, 1.4.3).
PALE_TEXTS = """
const channels = (colour) => colour.match(/[\\d.]+/g).map(Number);
const brightness = (colour) => {
    const [red, green, blue] = channels(colour).slice(0, 3).map((each) => each / 255)
        .map((each) => each <= 0.04045 ? each / 12.92 : ((each + 0.055) / 1.055) ** 2.4);
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
};
const isSeeThrough = (colour) => channels(colour)[3] === 0;
const behind = (element) => {
    const colour = getComputedStyle(element).backgroundColor;
    return isSeeThrough(colour) && element.parentElement ? behind(element.parentElement) : colour;
};
const contrast = (element) => {
    const [one, other] = [getComputedStyle(element).color, behind(element)].map(brightness);
    return (Math.max(one, other) + 0.05) / (Math.min(one, other) + 0.05);
};
const hasText = (element) => [...element.childNodes].some((node) =>
    node.nodeType === Node.TEXT_NODE && node.data.trim());
const top = document.querySelector('dialog[open]') ?? document.body;
return [...top.querySelectorAll('*')]
    .filter((each) => hasText(each) && each.checkVisibility() && contrast(each) < 4.5)
    .map((each) => `${contrast(each).toFixed(2)} ${each.outerHTML.slice(0, 80)}`);
"""

# What comes of each attempt to run, show or reach something that is not the page's own.
FOREIGN_THINGS = """
const done = arguments[0];
const refused = [];
document.addEventListener('securitypolicyviolation', (event) => {
    refused.push(event.effectiveDirective);
    if (refused.length === 4) {
        done(refused.sort());
    }
});
const script = document.createElement('script');
script.textContent = 'document.title = "run"';
document.body.append(script);
document.body.setAttribute('style', 'color: red');
const image = document.createElement('img');
image.src = 'https://elsewhere.example/a.png';
document.body.append(image);
fetch('https://elsewhere.example/').catch(() => {});
"""

LONG_NAME = "a-name-without-any-blank-of-the-greatest-length.rack4.example.or"


class Policy(PageTest):
    def test_nothing_foreign_is_run_shown_or_reached(self):
        self.driver.set_script_timeout(board.LONGEST_WAIT)
        refused = self.driver.execute_async_script(FOREIGN_THINGS)
        self.assertEqual(refused, ["connect-src", "img-src", "script-src-elem", "style-src-attr"])
        self.assertNotEqual(self.driver.title, "run")
        self.driver.get_log("browser")  # tells of them


class Layout(PageTest):
    def look_at_every_view(self, name, check):
        """Leads through the page's views, and checks each."""
        board.install(self.authority.server(LONG_NAME, organization="O" * 64))
        check(f"{name}-login")
        self.open_board()
        board.install(self.authority.server("second.example"))
        self.wait_text("#activity", "second.example")
        check(name)
        self.open_details(LONG_NAME)
        check(f"{name}-details")
        self.click("#details-delete")
        self.wait_for("#question")
        check(f"{name}-question")
        self.click("#question [data-close]")
        self.click("#details-replace")
        self.wait_for("#install")
        check(f"{name}-replace")
        self.click("#install [data-close]")
        self.click("#details [data-close]")
        self.click("#request-button")
        self.wait_for("#signing-name").send_keys("bmc-17.example")
        check(f"{name}-form")
        self.click("#signing-submit")
        self.wait_for("#signing-text")
        check(f"{name}-request")

    def is_narrow(self, name):
        self.assertEqual(self.script(TOO_WIDE), [], name)
        self.keep(name)

    def is_readable(self, name):
        self.assertEqual(self.script(PALE_TEXTS), [], name)

    def test_nothing_is_wider_than_a_phone(self):
        self.show_as(PHONE)
        self.look_at_every_view("phone", self.is_narrow)

    def test_every_text_is_readable_in_light(self):
        self.look_at_every_view("light", self.is_readable)

    def test_every_text_is_readable_in_dark(self):
        self.show_as(DESKTOP, prefers_color_scheme="dark")
        self.assertEqual(self.script("return getComputedStyle(document.body).backgroundColor"),
                         "rgb(18, 22, 28)")
        self.look_at_every_view("dark", self.is_readable)

    def test_nothing_moves_for_whoever_does_not_want_it(self):
        animation = ("return getComputedStyle(document.querySelector('.progress-bar'))"
                     ".animationName")
        self.assertEqual(self.script(animation), "travel")
        self.show_as(DESKTOP, prefers_reduced_motion="reduce")
        self.assertEqual(self.script(animation), "none")


if __name__ == "__main__":
    unittest.main()
