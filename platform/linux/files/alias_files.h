/// What is remembered of the aliases that a run has made, beside their files on disk.
#pragma once

/// Forgets which numbers aliases have been given: the next ones are looked for from the start.
void ForgetAliasNumbers();
