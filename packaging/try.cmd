@echo off
rem Starts the simulated pen service in a window of its own, and lists its pens.
cd /d "%~dp0bin"
start "pensim: close this window to end it" pensim.exe
penctl.exe list --wait 10
pause
