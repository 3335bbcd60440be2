namespace vexolo {}
