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
void AddScannerRows();
void AddPeerRows();

}  // namespace bench
