"""Offers "Flatten with Vannerly" for folders in Files (Nautilus), where its Python bindings are."""

from gi.repository import Gio, GObject, Nautilus


class FlattenWithVannerly(GObject.GObject, Nautilus.MenuProvider):
    # Until version 4 of the bindings a window is named before the files.
    def get_file_items(self, *arguments):
        files = arguments[-1]
        if not files or not all(
                file.is_directory() and file.get_uri_scheme() == "file" for file in files):
            return []
        item = Nautilus.MenuItem(name="FlattenWithVannerly::flatten", label="Flatten with Vannerly",
                                 tip="Move every file below the folder up into it",
                                 icon="com.brenmoor.Vannerly")
        item.connect("activate", self.flatten, [file.get_uri() for file in files])
        return [item]

    def flatten(self, _item, uris):
        Gio.Subprocess.new(["vannerly", "--", *uris], Gio.SubprocessFlags.NONE)
