// Dependence information for the code generator.
#pragma once

void do_dd_analysis_for_be(); // finds none yet: no edge means that the code generator assumes all
void finalize_dd_edges();
void finalize_ldspec_advice();
