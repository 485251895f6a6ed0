/* Nothing: what loading any library costs. */
extern int tallyra_empty_library;
int tallyra_empty_library = 0;
