/// What the process may do beyond its user's rights (capabilities(7)).
#pragma once

/// One of the CAP_ constants.
bool HasCapability(int capability);
