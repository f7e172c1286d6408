// The machine description: declarations of operators and rewrite rules.
#pragma once

// Reads the description that is built into the tool and makes it the one in force. The delivered
// one has no declaration and no rule, so none is in force after it either. for_matching tells
// whether rules are wanted or just the check of the text.
void parse_md_file(bool for_matching);

// Makes the rules ready to be looked up, once a run, before the steps run. Reads no rule yet.
void matcher_init();
