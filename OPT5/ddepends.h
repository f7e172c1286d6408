// Dependence vectors.
#pragma once

// The vectors' self-test, run ahead of every debugged compilation. No vector is built yet, so there
// is nothing to test.
void do_DVE_unit_testing();
