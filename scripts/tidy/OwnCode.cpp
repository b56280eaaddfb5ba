// A check for clang-tidy that complains of nothing: it keeps the others from looking through the
// headers of libraries, of whose faults they say nothing and which take them half of their time.
#include <clang-tidy/ClangTidyCheck.h>
#include <clang-tidy/ClangTidyModule.h>
#include <clang-tidy/ClangTidyModuleRegistry.h>
#include <clang/AST/ASTContext.h>
#include <clang/ASTMatchers/ASTMatchFinder.h>
#include <clang/Basic/SourceManager.h>

#include <vector>

namespace {

class COwnCode : public clang::tidy::ClangTidyCheck {
public:
    using ClangTidyCheck::ClangTidyCheck;

    // A traversal meets the unit before anything in it, and asks then what to go through.
    void registerMatchers(clang::ast_matchers::MatchFinder* finder) override {
        finder->addMatcher(clang::ast_matchers::translationUnitDecl().bind("unit"), this);
    }

    void check(const clang::ast_matchers::MatchFinder::MatchResult& result) override {
        const clang::SourceManager& sources = *result.SourceManager;
        std::vector<clang::Decl*> own;
        for (clang::Decl* const declaration : result.Context->getTranslationUnitDecl()->decls()) {
            if (!sources.isInSystemHeader(sources.getExpansionLoc(declaration->getLocation()))) {
                own.push_back(declaration);
            }
        }
        result.Context->setTraversalScope(own);
    }
};

class CModule : public clang::tidy::ClangTidyModule {
public:
    void addCheckFactories(clang::tidy::ClangTidyCheckFactories& factories) override {
        factories.registerCheck<COwnCode>("norvel-own-code");
    }
};

const clang::tidy::ClangTidyModuleRegistry::Add<CModule> s_module("norvel", "");

} // namespace
