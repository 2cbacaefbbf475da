#pragma once

// Each adds the rows of one kind of thing to the run (bench/Row.h).
namespace bench {

void AddIndexRows();
void AddChainRows();
void AddInitRows();
void AddManagerRows();
void AddTemplateRows();
void AddFrontRows();
void AddThreadRows();
// In a root of their own each; to be added before what starts the library in this process.
void AddRegistryRows();
void AddTaskRows();
void AddRecordRows();
void AddScannerRows();
void AddPeerRows();

}  // namespace bench
