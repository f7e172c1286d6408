// Multi-value propagation: the hooks of the reading stage, which collect nothing yet.

#include "OPT5/mvp.h"

// No fact about arguments is collected yet: each call may pass anything.
void init_IP_MVP_for_current_function() {}
