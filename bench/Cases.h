#pragma once

namespace qm::bench {

void trashMany(int files);
void writeLog();
void runTools();
void runToolsWithMuchMemory();
void firstPaint();
void uninstallSample();

}  // namespace qm::bench
