// Writes the seeds of .q8 files to the folder that is its argument.

#include "support/q8_samples.h"

int main(int count, char** folders) {
  if (count != 2) return 1;
  FuzzSupport::writeQ8Samples(folders[1]);
  return 0;
}
