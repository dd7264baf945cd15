#!/usr/bin/env python3
"""Taking back in the window."""

import os
import subprocess
import unittest

from desktop_case import Atspi, DesktopCase, wait_until


def tree(folder):
    """Every path below the folder, and what each file contains."""
    found = {}
    for parent, folders, names in os.walk(folder):
        for name in folders:
            found[os.path.join(parent, name)] = None
        for name in names:
            with open(os.path.join(parent, name), encoding="utf-8") as file:
                found[os.path.join(parent, name)] = file.read()
    return found


class History(DesktopCase):
    def choose_in_edit_menu(self, text):
        self.key("alt+e")
        self.wait_for(text, "menu item")
        self.key("Escape", "Escape")

    def rows(self):
        table = self.wait_for("History", "table")
        table.clear_cache()
        return [tuple(Atspi.Table.get_accessible_at(table, row, column).get_name()
                      for column in range(1, 4))
                for row in range(Atspi.Table.get_n_rows(table))]

    def is_enabled(self, name):
        button = self.wait_for(name, "push button")
        return button.get_state_set().contains(Atspi.StateType.ENABLED)

    def call(self, action):
        subprocess.run(["gdbus", "call", "--session", "--dest", "com.brenmoor.Vannerly",
                        "--object-path", "/com/brenmoor/Vannerly", "--method",
                        "org.freedesktop.Application.ActivateAction", action, "[]", "{}"],
                       check=True, stdout=subprocess.DEVNULL)

    def test_a_drop_is_taken_back_whole_and_done_again(self):
        self.write_preferences("DeleteEmptiedFolders = true\n")
        drops = [self.make_folder(name) for name in ("photos & 1", "letters")]
        before = [tree(drop) for drop in drops]
        self.open_window(*drops)
        self.wait_for("8 moved, .*")
        flattened = [tree(drop) for drop in drops]
        self.choose_in_edit_menu("Undo Flattening “letters” and 1 More")
        # A button beside the summary, and the key.
        self.click("Undo flattening", "push button")
        self.wait_for("8 put back")
        self.assertEqual([tree(drop) for drop in drops], before)
        self.assertIsNone(self.find("Undo flattening", "push button"), "there is nothing left to take back")
        self.choose_in_edit_menu("Redo Flattening “photos & 1” and 1 More")
        self.key("ctrl+shift+z")
        self.wait_for("8 moved again.*")
        self.assertEqual([tree(drop) for drop in drops], flattened)
        self.key("ctrl+z")
        wait_until(lambda: [tree(drop) for drop in drops] == before, "Ctrl+Z does not take back")
        self.wait_until_idle()
        # The same from outside.
        for action, expected in (("redo", flattened), ("undo", before)):
            self.call(action)
            wait_until(lambda: [tree(drop) for drop in drops] == expected, action)
            self.wait_until_idle()
        self.quit()

    def test_the_history_takes_back_the_newest_run_of_each_folder(self):
        drop, other = self.make_folder("first"), self.make_folder("other")
        before = tree(other)
        self.open_window(drop)
        self.wait_for("4 moved")
        for folder in (other, drop):
            if folder == drop:
                self.make_folder("first/new")
            self.start(folder)
            wait_until(lambda: self.moved(folder) >= 4, "not flattened")
            self.wait_until_idle()
        self.key("ctrl+h")
        can = "can be taken back"
        wait_until(lambda: self.rows()[:3] == [(drop, "4 moved, 4 renamed", can),
                                               (other, "4 moved", can), (drop, "4 moved", can)],
                   "not the history")
        for row, enabled in ((0, True), (2, False), (1, True)):
            self.key("ctrl+Home", *["Down"] * row)
            wait_until(lambda: self.is_enabled("Undo") == enabled, f"Undo in row {row}")
        self.key("Return")
        self.wait_for("Results of other")
        self.wait_for("4 items")
        self.key("Escape")
        self.key("alt+u")
        wait_until(lambda: self.rows()[1][2] == "taken back", "the list is not up to date")
        self.assertEqual(tree(other), before)
        self.key("Escape")
        wait_until(lambda: self.find("History", "table") is None, "Esc does not close it")
        self.quit()


if __name__ == "__main__":
    unittest.main()
