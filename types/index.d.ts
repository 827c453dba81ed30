// What the package offers to TypeScript, by room. Texts of errors and the finer rules stand in docs/.
/// <reference types="node" />

export * from './elements';
export * from './events';
export * from './framebuffer';
export * from './image';
export * from './lists';
export * from './module';
export * from './proxy';
export * from './renderer';
export * from './renderer-options';
export * from './scene';
export * from './server';
export * from './utilities';
export * from './values';
