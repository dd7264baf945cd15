/// What the user has to be told of a run's folders and the summary does not say.
#pragma once

/// From now on a folder whose files were left alone is told with the reason, and so is one where
/// nothing could be moved to the trash.
void TellProblemsOfRuns();
