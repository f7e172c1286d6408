// The last preparations of a function for the code generator.
#pragma once

void combine_asgs_to_memory(); // neighbouring narrow stores into one; merges none yet
void init_reg_defs();
void allocate_regs(); // register hints for locals; gives none yet
void fold_ANDBASGs(); // x &= a; x &= b  -->  x &= a & b
