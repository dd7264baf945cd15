"""The script that many a person writes for the job."""

import os
import shutil
import sys

top = sys.argv[1]
for folder, _, names in os.walk(top, topdown=False):
    for name in names:
        goal = os.path.join(top, name)
        if folder != top and not os.path.lexists(goal):
            shutil.move(os.path.join(folder, name), goal)
