// SPDX-License-Identifier: MIT
#pragma once

namespace qm::bench {

void trashMany(int files);
void writeLog();
void runTools();
void runToolsWithMuchMemory();
void readAsyncTask();
void copyMuch();
void sizeMany();
void matchMany();
void firstPaint();
void uninstallSample();
void zipMuch();

}  // namespace qm::bench
