// Clean-up of the control-flow graph.
#pragma once

// Straightens the graph. quest_is_ok allows blocks to become ?: trees.
void simpcfg(bool quest_is_ok, bool second);
// Simplifies or fully populates SWITCH statements from value facts; knows no facts yet.
void optimize_SWITCH_cases();
// Chooses the order of blocks that saves the most branches; keeps the depth-first order yet.
void straighten_traces_in_cfg();
// Puts loop tests at the bottom; keeps loops as they are yet.
void rotate_loops();
