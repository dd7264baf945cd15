/// What is remembered for the length of one run.
#pragma once

/// Forgets what an earlier run has found out of folders and volumes: anything can have become of
/// them since. References stay valid.
void ForgetEarlierRun();
