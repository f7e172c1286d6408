// Multi-value propagation: its switches, and the interprocedural set-up at reading.
#pragma once

void init_IP_MVP_for_current_function();
