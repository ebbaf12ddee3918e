#pragma once

// Deletes old dumps out of the dump folder, so that a program that crashes again and again does not fill the
// disk: all but the newest, as many as the product's key of the registry allows. Deliberate: one sweep looks
// at fifty files at most and takes whatever lies there for a dump. Called once, at the start.
void SweepDumpFolder();
