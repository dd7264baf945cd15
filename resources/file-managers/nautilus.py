"""Offers the flattening of folders in Files (Nautilus), where its Python bindings are."""

from gi.repository import Gio, GObject, Nautilus


class FlattenWithVannerly(GObject.GObject, Nautilus.MenuProvider):
    # For what is selected only: on the background a slip of the hand would flatten the folder that
    # one stands in. Until version 4 of the bindings a window is named before the files.
    def get_file_items(self, *arguments):
        files = arguments[-1]
        if not files or not all(
                file.is_directory() and file.get_uri_scheme() == "file" for file in files):
            return []
        uris = [file.get_uri() for file in files]
        return [self.item("flatten", "Flatten with Vannerly",
                          "Move every file below the folder up into it", ["--", *uris]),
                self.item("preview", "Preview Flattening…",
                          "Show what flattening the folder would do", ["--preview", "--", *uris])]

    def item(self, name, label, tip, arguments):
        item = Nautilus.MenuItem(name=f"FlattenWithVannerly::{name}", label=label, tip=tip,
                                 icon="com.brenmoor.Vannerly")
        item.connect("activate", self.start, arguments)
        return item

    def start(self, _item, arguments):
        Gio.Subprocess.new(["vannerly", *arguments], Gio.SubprocessFlags.NONE)
