export * from './index.cjs';
