"""Events as they come."""

import unittest

import board
from browser import PageTest


class Events(PageTest):
    def test_what_another_client_does_appears_by_itself(self):
        self.open_board()
        uri = board.install(self.authority.server("elsewhere.example"))
        self.wait_subjects("elsewhere.example")
        self.wait_text("#activity", "elsewhere.example")
        self.assertIn("Resource created", self.text_of("#activity"))
        self.keep("activity")
        board.send("DELETE", uri)
        self.wait_for("#empty")
        self.wait_text("#activity", "Resource removed")
        removed = self.script("return [...document.querySelectorAll('#activity li')]"
                              ".map(each => each.innerText).find(text => text.includes('removed'))")
        self.assertIn("elsewhere.example", removed)
        self.wait_gone("#activity button")

    def test_a_stream_that_ends_is_opened_again(self):
        self.open_board()
        before = board.streams()
        self.assertEqual(len(before), 1)
        board.send("DELETE", before[0])
        board.wait_until(lambda: set(board.streams()) - set(before), "there is another stream")
        board.install(self.authority.server("afterwards.example"))
        self.wait_text("#activity", "afterwards.example")

    def test_the_stream_ends_with_the_session(self):
        self.open_board()
        self.click("#logout")
        board.wait_until(lambda: not board.streams(), "no stream is left")


class Trouble(PageTest):
    refusals_are_expected = True

    def test_a_board_that_cannot_be_read_is_tried_again_until_it_can(self):
        board.install(self.authority.server("there.example"))
        self.open_board()
        with board.StandingRedis():
            self.driver.refresh()
            self.wait_text("#trouble", "Redis")
            self.keep("trouble")
        self.wait_subjects("there.example")
        self.wait_gone("#trouble")
        self.wait_text("#live", "Live")


if __name__ == "__main__":
    unittest.main()
