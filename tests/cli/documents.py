"""The documents that --json prints, of a preview and of the run that it has foretold."""

import base64
import json
import os
import re

UUID = re.compile(r"[0-9A-F]{8}(?:-[0-9A-F]{4}){3}-[0-9A-F]{12}")


def exact_names(value):
    """A value of a document, with the bytes of names that are no text in place of these names."""
    if isinstance(value, list):
        return [exact_names(entry) for entry in value]
    if not isinstance(value, dict):
        return value
    return {key: os.fsdecode(base64.b64decode(value[key + "Base64"])) if key + "Base64" in value
            else exact_names(inner) for key, inner in value.items() if not key.endswith("Base64")}


def renames(document):
    return {entry["path"]: entry["newName"]
            for folder in document["folders"] for entry in folder["renamed"]}


def with_names_of(run, preview):
    """The preview with the UUIDs that the run has made in place of its own."""
    new, made = {}, renames(run)
    for path, name in renames(preview).items():
        new |= zip(UUID.findall(name), UUID.findall(made.get(path, "")))
    return json.loads(UUID.sub(lambda found: new.get(found[0], found[0]), json.dumps(preview)))


def what_differs(preview, run):
    """Lines that say what the run has told and the preview has not, or not so; its changes aside.
    New names decide about the order within lists, so that is not compared."""
    if preview.get("preview") is not True or "preview" in run:
        yield "which of the two is a preview is not told"
    foretold, done = ({"the document": {**document, "folders": [], "preview": None},
                       **{folder["path"]: {**folder, **folder["counts"], "counts": None}
                          for folder in document["folders"]}}
                      for document in (with_names_of(run, preview), run))
    for name in sorted(foretold.keys() | done.keys()):
        expected, actual = foretold.get(name, {}), done.get(name, {})
        for key in sorted((expected.keys() | actual.keys()) - {"seconds"}):
            values = [sorted(value, key=repr) if isinstance(value, list) else value
                      for value in (expected.get(key), actual.get(key))]
            if key == "changes":
                values[0] = None
            if values[0] != values[1]:
                yield f"{name}: {key} was to be {values[0]} and is {values[1]}"
