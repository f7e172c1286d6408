// Dead assignments.
#pragma once

// Removes assignments whose value is never read. Takes every value as read yet.
void elim_dead_assigns(int globals_too, int late);
