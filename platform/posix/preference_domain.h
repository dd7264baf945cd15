/// The program's preferences as a whole, for tests, each of which begins anew.
#pragma once

/// Forgets what was read, what was set and not yet written, the values for this run and the problem
/// handler. The next use finds the files anew, where the environment then says.
void ForgetPreferences();
